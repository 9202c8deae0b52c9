#pragma once

#include <atomic>
#include <optional>

#include "protocol/Listener.h"
#include "protocol/Messages.h"
#include "server/JobServices.h"
#include "server/LineFold.h"

namespace Orvane {

struct JobPlan;

/// Serves masters, strictly one at a time, on the thread that calls run().
class MasterLoop {
  public:
    /// All must outlive the loop.
    MasterLoop(Listener& masterListener, const JobServices& jobServices,
               const std::atomic<bool>& stopFlag);

    /// Returns when the stop flag is seen, which is looked at between masters.
    void run();

  private:
    /// One that has shaken hands and is not answered yet.
    struct Master {
        std::unique_ptr<Connection> connection;
        String handshake;  ///< as received, for the log
        FrameInfo request;
    };

    std::optional<Master> receiveMaster();
    void logBogus(const String& received);
    void serve(Master& master);
    bool answer(Master& master);
    void perform(const JobPlan& plan, Master& master);
    bool logAccepted(const JobPlan& plan, const Master& master);

    Listener& listener;
    const JobServices& services;
    DrLog& log;
    const std::atomic<bool>& stopRequested;
    LineFold bogusConnections;
    LineFold lostConnections;
    LineFold refusedJobs;
};

}  // namespace Orvane
