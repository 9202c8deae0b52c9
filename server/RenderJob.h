#pragma once

#include "protocol/Connection.h"
#include "server/HostRun.h"
#include "server/ImageRelay.h"
#include "server/JobPlan.h"
#include "server/JobServices.h"
#include "server/LineFold.h"
#include "server/SceneFile.h"

namespace Orvane {

/// Everything that is done for one master after its handshake has been answered. Runs on the master
/// thread; every outcome is in the log, and nothing is thrown for the sake of a peer, a host or a
/// file.
class RenderJob {
  public:
    /// All must outlive the job. The plan must not be refused.
    RenderJob(const JobServices& jobServices, Connection& masterConnection, const JobPlan& jobPlan);

    /// Returns when the host has ended and the data folder is tidy.
    void run();

  private:
    void launchHost();
    bool waitForPlugin();
    void listenWhileLoading();
    void relay();
    bool receiveEndRender();
    void forwardEndRender();
    void finish();
    void cleanUp();

    const JobServices& services;
    DrLog& log;
    Connection& master;
    const JobPlan& plan;
    SceneFile scene;
    HostRun host;
    ImageRelay images;
    LineFold endSignals;
    std::int32_t earlyEndSignals = 0;  // that came before the plug-in
};

}  // namespace Orvane
