#include "server/RenderJob.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "OrvaneCore/DevelopmentVersion.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Stopwatch.h"
#include "protocol/Framing.h"
#include "protocol/Timeouts.h"
#include "server/KeepAwake.h"
#include "server/LaunchCommand.h"

namespace Orvane {

namespace {

// Masters whose scenes cannot be written come and go in no time, and each has its lines in the log.
constexpr std::chrono::seconds pauseAfterFailedDownload{1};
constexpr std::chrono::seconds longestListening{1};

const char* const noResponseLine = "Got no response from 3ds max, aborting";
const char* const finishedLine = "DR is finished";

}  // namespace

RenderJob::RenderJob(const JobServices& jobServices, Connection& masterConnection,
                     const JobPlan& jobPlan, JobReceipt& jobReceipt)
    : services(jobServices),
      log(jobServices.log),
      master(masterConnection),
      plan(jobPlan),
      receipt(jobReceipt),
      scene(jobServices.config, jobServices.log),
      host(jobServices),
      images(masterConnection, jobServices),
      endSignals(jobServices.log, "Got END signal from remote side") {}

void RenderJob::run() {
    const KeepAwake awake;
    if (!scene.download(master, plan, receipt)) {
        // Not the dumps: none are new, and in a folder that has become read-only they cannot go.
        scene.remove();
        std::this_thread::sleep_for(pauseAfterFailedDownload);
        return;
    }
    services.book.note(receipt);
    launchHost();
    if (waitForPlugin())
        relay();
    finish();
    completeReceipt();
}

void RenderJob::launchHost() {
    outputPath = hostOutputPath(services.config.dataFolder, log);
    outputBegin = std::max<std::int64_t>(FileSystem::fileSize(outputPath), 0);
    const String line = launchCommand(services.config.hostPath(plan.hostYear), scene.path(),
                                      services.config, plan.request, outputPath);
    log.log(String("Running command:\n") + line);
    // Nothing of an earlier job may reach this master.
    services.dumps.removeAll();
    services.loopback.drainPendingConnections();
    host.start(line, outputPath);
}

bool RenderJob::waitForPlugin() {
    const Stopwatch watch;
    // No limit of its own: opening a large scene takes as long as it takes.
    while (host.isRunning()) {
        if (services.loopback.tryLocalHandshake(services.config, plan.request, services.hostEnd)) {
            log.log(String("3ds max is online after ") + watch.secondsText() + " seconds");
            log.log("DR is running");
            receipt.seconds.hostStart = watch.exactSeconds();
            services.book.note(receipt);
            pluginCame = true;
            return true;
        }
        listenWhileLoading();
    }
    receipt.seconds.hostStart = watch.exactSeconds();
    log.log(noResponseLine);
    return false;
}

void RenderJob::listenWhileLoading() {
    // All that is there, or the master's end behind it is not seen; but a flood may not keep the
    // plug-in waiting.
    const auto latest = Connection::Clock::now() + longestListening;
    char next = 0;
    while (Connection::Clock::now() < latest &&
           master.peek(&next, 1, std::chrono::milliseconds::zero()) > 0)
        earlyEndSignals += receiveEndRender() ? 1 : 0;
    // The plug-in is still welcome: it is told to end as it would be later.
    if (!master.isAlive())
        host.release();
}

void RenderJob::relay() {
    constexpr std::chrono::seconds pace{Timeouts::endRenderPollSeconds};
    const Stopwatch watch;
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
    receipt.seconds.render = watch.exactSeconds();
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
    endForwarded = true;
}

void RenderJob::finish() {
    masterLeft = !master.isAlive() && !endForwarded;
    images.relayDumps();
    log.log(finishedLine);
    services.loopback.closeLocalConnection();
    log.log("Closed loopback connection\n\n");
    const Stopwatch watch;
    host.waitForEnd();
    receipt.seconds.hostEnd = watch.exactSeconds();
    images.relayLastDumps();
    cleanUp();
}

void RenderJob::cleanUp() {
    if (!isDevelopmentVersion())
        services.dumps.removeAll();
    scene.remove();
}

void RenderJob::completeReceipt() {
    receipt.images = images.sent();
    if (host.result().hasStarted())
        receipt.hostExit = host.result().status;
    receipt.hostWasEnded = host.wasEnded() || services.hostSwitch.isOff();
    if (receipt.images.count == 0)
        receipt.hostOutput = lastLines(outputPath, outputBegin);
    // A scene that is not whole explains all that follows.
    if (!receipt.ending)
        receipt.ending = ending();
}

JobEnding RenderJob::ending() const {
    if (services.hostSwitch.isOff() && !endForwarded)
        return {JobOutcome::Stopped, HostSwitch::line};
    // A master that has ended the render may go.
    if (images.failure() && !endForwarded)
        return *images.failure();
    if (masterLeft)
        return {JobOutcome::MasterLeft, pluginCame ? finishedLine : noResponseLine};
    if (!pluginCame)
        return endingWithoutPlugin();
    if (host.hasCrashed() && !endForwarded)
        return {JobOutcome::HostCrashed, host.endLine()};
    return {images.sent().count > 0 ? JobOutcome::Completed : JobOutcome::NoImage, finishedLine};
}

JobEnding RenderJob::endingWithoutPlugin() const {
    if (!host.result().hasStarted())
        return {JobOutcome::HostNotStarted, host.endLine()};
    if (host.hasCrashed())
        return {JobOutcome::HostCrashed, host.endLine()};
    return {JobOutcome::HostNeverCame, noResponseLine};
}

}  // namespace Orvane
