#pragma once

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/DrConfig.h"
#include "protocol/Connection.h"
#include "protocol/DrMessage.h"
#include "server/ImageRelay.h"
#include "server/LineFold.h"
#include "server/LoopbackListener.h"
#include "server/RelayWakeup.h"

namespace Orvane {

/// What a job uses of the server. All outlive the job.
struct RenderNode {
    DrLog& log;
    const DrConfig& config;
    StandbyThread& maxInvoker;
    LoopbackListener& loopback;
    RelayWakeup& wakeup;
};

/// Everything that is done for one master after its handshake. Runs on the master thread; every
/// outcome is in the log, and nothing is thrown for the sake of a peer, a host or a file.
class RenderJob {
  public:
    /// `requestText` is the master's handshake as received.
    RenderJob(const RenderNode& renderNode, Connection& masterConnection, const String& requestText)
        : node(renderNode),
          master(masterConnection),
          request(requestText),
          images(masterConnection, renderNode.config, renderNode.log),
          endSignals(renderNode.log, "Got END signal from remote side") {}

    /// Reads the request and chooses the host. Answers the log's line if the job is refused, and
    /// nothing if it may run.
    String prepare();
    /// Returns when the host has ended and the data folder is tidy. After prepare().
    void run();

  private:
    bool chooseHost();
    void removeLeftoverScenes();
    bool downloadScene();
    void launchHost();
    void runHost();
    bool waitForHost();
    void relay();
    void readCommand();
    void finish();
    void waitForHostToEnd();
    void cleanUp();
    void removeScene();

    RenderNode node;
    Connection& master;
    const String& request;
    ImageRelay images;
    LineFold endSignals;

    FrameInfo frameInfo;
    std::int32_t sceneVersion = 0;
    std::int32_t hostVersion = 0;
    String scenePath;
    String command;
};

}  // namespace Orvane
