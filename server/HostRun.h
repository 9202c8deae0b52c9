#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "OrvaneCore/CommandInterpreter.h"
#include "OrvaneCore/Stopwatch.h"
#include "server/HostOutput.h"
#include "server/JobServices.h"

namespace Orvane {

/// One run of the host's command line on MY_MaxInvoker. Used by the master thread.
class HostRun {
  public:
    /// `services` must outlive the run.
    explicit HostRun(const JobServices& services)
        : maxInvoker(services.maxInvoker),
          hostEnd(services.hostEnd),
          log(services.log),
          config(services.config),
          hostSwitch(services.hostSwitch) {}
    /// The command line must have ended: it is this object's.
    ~HostRun() = default;
    HostRun(const HostRun&) = delete;
    HostRun& operator=(const HostRun&) = delete;

    /// Returns as soon as the worker has the line, which appends the host's output to `outputPath`.
    void start(const String& line, const String& outputPath);
    /// From now on nobody needs the host. It may take the configured time to end by itself, of
    /// which isRunning() and waitForEnd() keep account: they say in the log that it is being waited
    /// for, and end it. Only the first call counts.
    void release();
    /// The first call to see that the host has ended puts into the log how, if it was not well.
    bool isRunning();
    /// Releases the host and waits for its end.
    void waitForEnd();
    /// How the host ended; when it is no longer running.
    const CommandResult& result() const { return outcome; }
    /// Its time after the release was over.
    bool wasEnded() const { return ended; }
    bool hasCrashed() const { return outcome.hasCrashed() && !ended && !hostSwitch.isOff(); }
    /// The log's line about that; empty if it ended well.
    String endLine() const;

  private:
    void run();
    bool hasEnded(std::chrono::milliseconds longest);
    bool isPatienceOver() const;
    std::chrono::milliseconds timeToNextStep() const;
    void keepAccount();
    void logEnd();

    StandbyThread& maxInvoker;
    WaitSignal& hostEnd;
    DrLog& log;
    const DrConfig& config;
    HostSwitch& hostSwitch;
    std::unique_ptr<HostOutput> output;
    std::unique_ptr<Command> command;
    CommandResult outcome;  // the worker's until it is parked
    bool endLogged = false;

    std::optional<Stopwatch> released;
    std::chrono::milliseconds nextNotice = std::chrono::seconds(30);  // after the release
    bool ended = false;                                               // by this object
};

}  // namespace Orvane
