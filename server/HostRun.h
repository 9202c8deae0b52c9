#pragma once

#include <chrono>
#include <memory>

#include "OrvaneCore/CommandInterpreter.h"
#include "server/HostOutput.h"
#include "server/JobServices.h"

namespace Orvane {

/// One run of the host's command line on MY_MaxInvoker. Used by the master thread.
class HostRun {
  public:
    /// `services` must outlive the run.
    explicit HostRun(const JobServices& services)
        : maxInvoker(services.maxInvoker), log(services.log) {}
    /// The command line must have ended: it is this object's.
    ~HostRun() = default;
    HostRun(const HostRun&) = delete;
    HostRun& operator=(const HostRun&) = delete;

    /// Returns as soon as the worker has the line, which appends the host's output to `outputPath`.
    void start(const String& line, const String& outputPath);
    /// The first call to see that the host has ended puts into the log how, if it was not well.
    bool isRunning();
    /// Waits for the end without limit; says in the log that it does.
    void waitForEnd();
    /// How the host ended; when it is no longer running.
    const CommandResult& result() const { return outcome; }

  private:
    void run();
    bool hasEnded(std::chrono::milliseconds longest);
    void logEnd();

    StandbyThread& maxInvoker;
    DrLog& log;
    std::unique_ptr<HostOutput> output;
    std::unique_ptr<Command> command;
    CommandResult outcome;  // the worker's until it is parked
    bool endLogged = false;
};

}  // namespace Orvane
