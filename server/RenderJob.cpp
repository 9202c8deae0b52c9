#include "server/RenderJob.h"

#include <chrono>
#include <thread>

#include "OrvaneCore/DevelopmentVersion.h"
#include "OrvaneCore/Stopwatch.h"
#include "protocol/Framing.h"
#include "protocol/Timeouts.h"
#include "server/KeepAwake.h"
#include "server/LaunchCommand.h"

namespace Orvane {

namespace {

// Masters whose scenes cannot be written come and go in no time, and each has its lines in the log.
constexpr std::chrono::seconds pauseAfterFailedDownload{1};

}  // namespace

RenderJob::RenderJob(const JobServices& jobServices, Connection& masterConnection,
                     const JobPlan& jobPlan)
    : services(jobServices),
      log(jobServices.log),
      master(masterConnection),
      plan(jobPlan),
      scene(jobServices.config, jobServices.log),
      host(jobServices),
      images(masterConnection, jobServices),
      endSignals(jobServices.log, "Got END signal from remote side") {}

void RenderJob::run() {
    const KeepAwake awake;
    if (!scene.download(master, plan)) {
        // Not the dumps: none are new, and in a folder that has become read-only they cannot go.
        scene.remove();
        std::this_thread::sleep_for(pauseAfterFailedDownload);
        return;
    }
    launchHost();
    if (waitForPlugin())
        relay();
    finish();
}

void RenderJob::launchHost() {
    const String output = hostOutputPath(services.config.dataFolder, log);
    const String line = launchCommand(services.config.hostPath(plan.hostYear), scene.path(),
                                      services.config, plan.request, output);
    log.log(String("Running command:\n") + line);
    // Nothing of an earlier job may reach this master.
    services.dumps.removeAll();
    services.loopback.drainPendingConnections();
    host.start(line, output);
}

bool RenderJob::waitForPlugin() {
    const Stopwatch watch;
    // No limit of its own: opening a large scene takes as long as it takes.
    while (host.isRunning()) {
        if (services.loopback.tryLocalHandshake(services.config, plan.request, services.hostEnd)) {
            log.log(String("3ds max is online after ") + watch.secondsText() + " seconds");
            log.log("DR is running");
            return true;
        }
        listenWhileLoading();
    }
    log.log("Got no response from 3ds max, aborting");
    return false;
}

void RenderJob::listenWhileLoading() {
    char next = 0;
    if (master.peek(&next, 1, std::chrono::milliseconds::zero()) > 0 && receiveEndRender())
        ++earlyEndSignals;
    // The plug-in is still welcome: it is told to end as it would be later.
    if (!master.isAlive())
        host.release();
}

void RenderJob::relay() {
    constexpr std::chrono::seconds pace{Timeouts::endRenderPollSeconds};
    services.wakeup.watch(services.config.dataFolder);
    for (; earlyEndSignals > 0; --earlyEndSignals)
        forwardEndRender();
    while (master.isAlive() && services.loopback.isPluginAlive()) {
        images.relayDumps();
        if (master.isAlive() &&
            services.wakeup.wait(master, services.loopback.pluginConnection(), pace) &&
            receiveEndRender())
            forwardEndRender();
    }
    services.wakeup.stopWatching();
}

bool RenderJob::receiveEndRender() {
    const ReceivedMessage message = readMessage(master, Timeouts::endRenderPollSeconds);
    if (message.isRefused())
        log.log(String("Refused a message of the master and closed its connection: ") +
                message.refusal());
    return message.isWhole() && EndRender::read(message.text);
}

void RenderJob::forwardEndRender() {
    endSignals.write("Got END signal from remote side, forwarding to 3ds max");
    services.loopback.forwardEndRender();
}

void RenderJob::finish() {
    images.relayDumps();
    log.log("DR is finished");
    services.loopback.closeLocalConnection();
    log.log("Closed loopback connection\n\n");
    host.waitForEnd();
    images.relayLastDumps();
    cleanUp();
}

void RenderJob::cleanUp() {
    if (!isDevelopmentVersion())
        services.dumps.removeAll();
    scene.remove();
}

}  // namespace Orvane
