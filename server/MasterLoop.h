#pragma once

#include <atomic>
#include <functional>

#include "OrvaneCore/DrLog.h"
#include "protocol/Listener.h"
#include "server/LineFold.h"

namespace Orvane {

/// Serves masters, strictly one at a time, on the thread that calls run().
class MasterLoop {
  public:
    /// Runs to its end with a master that has shaken hands, and the handshake's text as received.
    using Job = std::function<void(Connection& master, const String& handshake)>;

    /// All references must outlive the loop.
    MasterLoop(Listener& masterListener, DrLog& target, const std::atomic<bool>& stopFlag,
               Job work);

    /// Returns when the stop flag is seen, which is looked at between masters.
    void run();

  private:
    void serve(Connection& master);
    bool answer(Connection& master);

    Listener& listener;
    DrLog& log;
    const std::atomic<bool>& stopRequested;
    Job job;
    LineFold bogusConnections;
    LineFold endsOfBogusConnections;
};

}  // namespace Orvane
