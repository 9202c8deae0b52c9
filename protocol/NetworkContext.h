#pragma once

#include <asio/io_context.hpp>

namespace Orvane {

/// What every socket of the networking library belongs to. Nobody runs it: sockets do not block
/// here, and who waits does so with a deadline of his own, on his own thread (SocketWait.h).
asio::io_context& networkContext();

}  // namespace Orvane
