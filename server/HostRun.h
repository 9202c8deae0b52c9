#pragma once

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

    /// Returns as soon as the worker has the line.
    void start(const String& commandLine);
    bool isRunning() const { return maxInvoker.isBusy(); }
    /// Waits for the end without limit; says in the log that it does.
    void waitForEnd();

  private:
    void runLine();

    StandbyThread& maxInvoker;
    DrLog& log;
    String line;
};

}  // namespace Orvane
