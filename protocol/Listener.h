#pragma once

#include <memory>

#include "protocol/Connection.h"

namespace Orvane {

/// A listening TCP socket. Used by one thread at a time.
class Listener {
  public:
    enum class Reach { Loopback, AllInterfaces };

    /// The time-out is accept()'s.
    Listener(Reach reach, unsigned short port, int acceptTimeoutSeconds = 0);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// False when the port could not be bound; accept() then only waits.
    bool isOk() const;
    /// The next connection, or null after the time-out.
    [[nodiscard]] std::unique_ptr<Connection> accept();
    /// The next connection if there is one; null at once if not, or if the system has no room for
    /// it.
    [[nodiscard]] std::unique_ptr<Connection> takeWaiting();
    /// For waits; only while isOk().
    SocketHandle handle() const;

  private:
    struct Native;
    std::unique_ptr<Native> native;
    int acceptTimeoutSeconds;
};

}  // namespace Orvane
