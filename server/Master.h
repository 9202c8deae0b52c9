#pragma once

#include <memory>

#include "protocol/Connection.h"
#include "protocol/Messages.h"

namespace Orvane {

/// One that has sent its handshake and is not answered yet.
struct Master {
    std::unique_ptr<Connection> connection;
    String handshake;  ///< as received, for the log
    FrameInfo request;

    /// Whether it has closed, ended its sending or broken off. With unread bytes before that end it
    /// counts as there.
    bool hasLeft() const;
};

}  // namespace Orvane
