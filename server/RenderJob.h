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
    RenderJob(const JobServices& jobServices, Connection& masterConnection, const JobPlan& jobPlan,
              JobReceipt& jobReceipt);

    /// Returns when the host has ended and the data folder is tidy. The receipt has its ending
    /// then.
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
    void completeReceipt();
    JobEnding ending() const;
    JobEnding endingWithoutPlugin() const;

    const JobServices& services;
    DrLog& log;
    Connection& master;
    const JobPlan& plan;
    JobReceipt& receipt;
    SceneFile scene;
    HostRun host;
    ImageRelay images;
    LineFold endSignals;
    bool pluginCame = false;
    bool masterLeft = false;  // before it had ended the render
    bool endForwarded = false;
    String outputPath;                 // of the host
    std::int64_t outputBegin = 0;      // of this job's part
    std::int32_t earlyEndSignals = 0;  // that came before the plug-in
};

}  // namespace Orvane
