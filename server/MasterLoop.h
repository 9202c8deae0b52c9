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
    /// What is to be done for a master.
    struct Job {
        String refusal;             ///< the log's line if the job is not to be done; empty if it is
        std::function<void()> run;  ///< runs the job to its end
    };
    /// Looks at the handshake's text, as received from a master that has shaken hands. The job is
    /// run or dropped while the connection exists.
    using Preparation = std::function<Job(Connection& master, const String& handshake)>;

    /// All references must outlive the loop.
    MasterLoop(Listener& masterListener, DrLog& target, const std::atomic<bool>& stopFlag,
               Preparation prepareJob);

    /// Returns when the stop flag is seen, which is looked at between masters.
    void run();

  private:
    void serve(Connection& master);
    void converse(Connection& master, const String& handshake);
    bool answer(Connection& master);

    Listener& listener;
    DrLog& log;
    const std::atomic<bool>& stopRequested;
    Preparation prepare;
    LineFold bogusConnections;
    LineFold lostConnections;
    LineFold refusedJobs;
};

}  // namespace Orvane
