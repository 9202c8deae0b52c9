#pragma once

#include <chrono>
#include <cstdint>
#include <span>

namespace Orvane {

/// A socket as the system knows it.
using SocketHandle = std::intptr_t;
constexpr SocketHandle noSocket = -1;

using SocketClock = std::chrono::steady_clock;

struct WaitedSocket {
    SocketHandle socket = noSocket;
    bool forWriting = false;
    bool ready = false;  ///< the answer: a call would not block now, an end or an error included
};

/// Returns when one of the sockets is ready, or at the deadline, and says which; true if any is.
/// However many they are, and whatever their numbers.
bool waitForSockets(std::span<WaitedSocket> sockets, SocketClock::time_point deadline);

}  // namespace Orvane
