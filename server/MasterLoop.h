#pragma once

#include <atomic>

#include "server/Door.h"
#include "server/JobServices.h"
#include "server/LineFold.h"

namespace Orvane {

struct JobPlan;

/// Serves masters, strictly one at a time, on the thread that calls run().
class MasterLoop {
  public:
    /// All must outlive the loop.
    MasterLoop(Door& masterDoor, const JobServices& jobServices, const std::atomic<bool>& stopFlag);

    /// Returns when the stop flag is seen, which is looked at between masters.
    void run();

  private:
    void serve(Master& master);
    bool answer(Master& master);
    void perform(const JobPlan& plan, Master& master);
    bool logAccepted(const JobPlan& plan, const Master& master);

    Door& door;
    const JobServices& services;
    DrLog& log;
    const std::atomic<bool>& stopRequested;
    LineFold lostConnections;
    LineFold refusedJobs;
};

}  // namespace Orvane
