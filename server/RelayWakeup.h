#pragma once

#include <chrono>
#include <memory>

#include "OrvaneCore/String.h"
#include "protocol/Connection.h"

namespace Orvane {

/// Lets the relay sleep until there is something to do: a finished file in the data folder, a byte
/// from the master, a byte or the end from the plug-in. Where the folder cannot be watched only the
/// connections wake it, and the longest wait is the pace. Lives as long as the server; used by one
/// thread.
///
/// On the system's own calls: it is one wait for things of different kinds, and the networking
/// library would have to leave a receive pending on each connection, which somebody would have to
/// take back before the bytes can be read where they are wanted.
class RelayWakeup {
  public:
    RelayWakeup();
    ~RelayWakeup();
    RelayWakeup(const RelayWakeup&) = delete;
    RelayWakeup& operator=(const RelayWakeup&) = delete;

    /// Files that come between the two wake the next wait.
    void watch(const String& folder);
    void stopWatching();

    /// True when the master has sent something or has gone. Both connections must be alive.
    bool wait(const Connection& master, const Connection& plugin,
              std::chrono::milliseconds longest);

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
