#pragma once

#include <chrono>
#include <cstdint>
#include <span>

namespace Orvane {

/// A socket as the system knows it.
using SocketHandle = std::intptr_t;
constexpr SocketHandle noSocket = -1;

using SocketClock = std::chrono::steady_clock;

enum class WaitFor {
    Input,  ///< bytes, or a connection to accept
    Room,   ///< to write
    End     ///< the peer's end, even with unread bytes before it where the system tells
};

struct WaitedSocket {
    SocketHandle socket = noSocket;
    WaitFor purpose = WaitFor::Input;
    bool ready = false;  ///< the answer; an end or an error makes it true for every purpose
};

/// Returns when one of the sockets is ready, or at the deadline, and says which; true if any is.
/// At least one, however many, and whatever their numbers.
bool waitForSockets(std::span<WaitedSocket> sockets, SocketClock::time_point deadline);

/// Ends another thread's wait: its handle is ready for input from set() to clear().
class WaitSignal {
  public:
    /// Throws std::system_error when the system has none left.
    WaitSignal();
    ~WaitSignal();
    WaitSignal(const WaitSignal&) = delete;
    WaitSignal& operator=(const WaitSignal&) = delete;

    /// Any thread.
    void set();
    /// The waiting thread.
    void clear();
    SocketHandle handle() const { return socket; }

  private:
    SocketHandle socket;
};

}  // namespace Orvane
