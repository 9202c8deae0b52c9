#pragma once

#include <chrono>
#include <memory>

#include "OrvaneCore/DrLog.h"
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
    /// `target` must outlive the object.
    explicit RelayWakeup(DrLog& target);
    ~RelayWakeup();
    RelayWakeup(const RelayWakeup&) = delete;
    RelayWakeup& operator=(const RelayWakeup&) = delete;

    /// Files that come between the two wake the next wait. That a folder cannot be watched is said
    /// in the log once.
    void watch(const String& folder);
    void stopWatching();

    /// True when the master has sent something or has gone. Both connections must be alive.
    bool wait(const Connection& master, const Connection& plugin,
              std::chrono::milliseconds longest);

  private:
    struct Native;

    bool startWatching(const String& folder);

    DrLog& log;
    bool toldOfSlowness = false;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
