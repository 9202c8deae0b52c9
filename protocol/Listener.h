#pragma once

#include <memory>

#include "protocol/Connection.h"

class wxSocketServer;

namespace Orvane {

/// A listening TCP socket. Used by one thread at a time.
class Listener {
  public:
    enum class Reach { Loopback, AllInterfaces };

    Listener(Reach reach, unsigned short port, int acceptTimeoutSeconds);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// False when the port could not be bound; accept() then only waits.
    bool isOk() const;
    /// The next connection, or null after the time-out.
    std::unique_ptr<Connection> accept();

  private:
    std::unique_ptr<wxSocketServer> socket;
    int acceptTimeoutSeconds;
};

}  // namespace Orvane
