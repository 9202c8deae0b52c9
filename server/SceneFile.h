#pragma once

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"
#include "protocol/Connection.h"
#include "server/JobPlan.h"
#include "server/JobReceipt.h"

namespace Orvane {

/// The scene of one job, on disk from its download to remove(). On a developer's machine scenes are
/// kept. Used by the master thread.
class SceneFile {
  public:
    /// Both must outlive the scene. Chooses a name, and removes the scenes that jobs left which
    /// ended with the machine's power: they are large, and nobody else removes them.
    SceneFile(const DrConfig& settings, DrLog& target);

    /// Receives the scene. False, with the reason in the log, when it cannot be written; after a
    /// transfer that breaks off the job goes on, for the host reports a scene that is not whole.
    [[nodiscard]] bool download(Connection& master, const JobPlan& plan, JobReceipt& receipt);
    void remove();

    const String& path() const { return file; }

  private:
    void removeLeftovers();

    const DrConfig& config;
    DrLog& log;
    String file;
};

}  // namespace Orvane
