#include "server/RenderJob.h"

#include <chrono>
#include <thread>

#include "OrvaneCore/CommandInterpreter.h"
#include "OrvaneCore/DevelopmentVersion.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/RandomSource.h"
#include "OrvaneCore/Stopwatch.h"
#include "protocol/FileTransfer.h"
#include "protocol/Framing.h"
#include "server/DumpFiles.h"
#include "server/LaunchCommand.h"

namespace Orvane {

namespace {

constexpr int commandPollSeconds = 2;
// Masters whose scenes cannot be written come and go in no time, and each has its lines in the log.
constexpr std::chrono::seconds pauseAfterFailedDownload{1};
const char* const scenePrefix = "received_scene_";
constexpr std::u16string_view sceneSuffix = u".max";

/// "max2014" is release 2014: three letters, then the year.
std::int32_t versionNumber(const String& hostVersion) {
    constexpr std::size_t letters = 3;
    const std::u16string_view text = hostVersion.view();
    return text.size() <= letters ? 0 : Str::leadingInteger(toAnsi(String(text.substr(letters))));
}

}  // namespace

String RenderJob::prepare() {
    try {
        DrMessage::parse(request).readFrameInfo(frameInfo);
    } catch (const MalformedMessage& error) {
        return String("Malformed XML: ") + error.what();
    }
    if (!chooseHost())
        return String("Unsupported 3ds max version: ") + Str::toWString(sceneVersion);
    const String refusal = refusalOf(frameInfo);
    return refusal.isEmpty() ? refusal : String("Refused job: ") + refusal;
}

bool RenderJob::chooseHost() {
    sceneVersion = versionNumber(frameInfo.hostVersion);
    // The same release or the next newer one that is installed: an older one cannot open the scene.
    for (std::int32_t year = sceneVersion; year >= firstHostYear && year <= lastHostYear; ++year) {
        hostVersion = year;
        if (!node.config.hostPath(year).isEmpty())
            return true;
    }
    return false;
}

void RenderJob::run() {
    if (!downloadScene()) {
        // Not the dumps: none are new, and in a folder that has become read-only they cannot go.
        removeScene();
        std::this_thread::sleep_for(pauseAfterFailedDownload);
        return;
    }
    launchHost();
    if (waitForHost())
        relay();
    finish();
}

void RenderJob::removeLeftoverScenes() {
    if (isDevelopmentVersion())
        return;
    FileSystem::Listing listing(node.config.dataFolder, scenePrefix);
    while (const auto entry = listing.next()) {
        const String path = node.config.dataFolder + "/" + entry->name;
        if (entry->isFile && Str::endsWith(entry->name, sceneSuffix) &&
            FileSystem::deleteFile(path))
            node.log.log(String("Removed file: ") + path);
    }
}

bool RenderJob::downloadScene() {
    // Of jobs that ended with the machine's power; scenes are large, and nobody else removes them.
    removeLeftoverScenes();
    const Stopwatch watch;
    node.log.log(String("Downloading 3ds max ") + Str::toWString(sceneVersion) +
                 " scene to render with 3ds max " + Str::toWString(hostVersion));
    scenePath = node.config.dataFolder + "/" + scenePrefix +
                String(std::to_string(randomNumber())) + String(sceneSuffix);
    try {
        // Not looked at: the host reports a scene that is not whole in its own log.
        receiveFile(master, scenePath);
    } catch (const Exception& failure) {
        node.log.log(failure.getMessage());
        return false;
    }
    const auto size = static_cast<std::uint64_t>(FileSystem::fileSize(scenePath));
    node.log.log(String("Downloaded scene: ") + Str::getFormatted(size) + " bytes in " +
                 watch.secondsText() + " s");
    return true;
}

void RenderJob::launchHost() {
    command = launchCommand(node.config.hostPath(hostVersion), scenePath, node.config, frameInfo);
    node.log.log(String("Running command:\n") + command);
    // Nothing of an earlier job may reach this master.
    removeDumpFiles(node.config, node.log);
    node.loopback.drainPendingConnections();
    node.maxInvoker.run([](void* job) { static_cast<RenderJob*>(job)->runHost(); }, this);
}

void RenderJob::runHost() {
    if (runCommand(command) < 0)
        node.log.log("Cannot start the command interpreter");
}

bool RenderJob::waitForHost() {
    const Stopwatch watch;
    // No limit of its own: opening a large scene takes as long as it takes.
    while (node.maxInvoker.isBusy()) {
        if (node.loopback.tryLocalHandshake(node.config, frameInfo)) {
            node.log.log(String("3ds max is online after ") + watch.secondsText() + " seconds");
            node.log.log("DR is running");
            return true;
        }
    }
    node.log.log("Got no response from 3ds max, aborting");
    return false;
}

void RenderJob::relay() {
    constexpr std::chrono::seconds pace{commandPollSeconds};
    node.wakeup.watch(node.config.dataFolder);
    while (master.isAlive() && node.loopback.isPluginAlive()) {
        images.relayDumps();
        if (master.isAlive() && node.wakeup.wait(master, node.loopback.pluginConnection(), pace))
            readCommand();
    }
    node.wakeup.stopWatching();
}

void RenderJob::readCommand() {
    String text;
    const char* refusal = nullptr;
    const int result = readMessage(master, text, commandPollSeconds, &refusal);
    if (refusal != nullptr)
        node.log.log(String("Refused a message of the master and closed its connection: ") +
                     refusal);
    if (result != 0 || !messageHas(text, Tag::command, Tag::commandChild, Tag::endRender))
        return;
    endSignals.write("Got END signal from remote side, forwarding to 3ds max");
    node.loopback.forwardEndRender();
}

void RenderJob::finish() {
    images.relayDumps();
    node.log.log("DR is finished");
    node.loopback.closeLocalConnection();
    node.log.log("Closed loopback connection\n\n");
    waitForHostToEnd();
    images.relayLastDumps();
    cleanUp();
}

void RenderJob::waitForHostToEnd() {
    constexpr std::chrono::seconds firstNotice{30};
    constexpr std::chrono::minutes laterNotices{10};
    const Stopwatch watch;
    std::chrono::milliseconds patience = firstNotice;
    while (!node.maxInvoker.waitUntilParked(patience)) {
        node.log.log(String("Still waiting for 3ds max to end, for ") + watch.secondsText() +
                     " s; no other master is served until it does");
        patience = laterNotices;
    }
}

void RenderJob::cleanUp() {
    if (!isDevelopmentVersion())
        removeDumpFiles(node.config, node.log);
    removeScene();
}

void RenderJob::removeScene() {
    if (!isDevelopmentVersion())
        FileSystem::deleteFile(scenePath);
}

}  // namespace Orvane
