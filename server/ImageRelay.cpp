#include "server/ImageRelay.h"

#include <optional>
#include <thread>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Stopwatch.h"
#include "OrvaneCore/Timestamp.h"
#include "protocol/FileTransfer.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

/// Many images may come within one second: the first has its time as its name, the others a number
/// behind it.
String unusedName(const String& beginning) {
    String name = beginning + ".exr";
    for (std::int32_t number = 2; FileSystem::exists(name); ++number)
        name = beginning + " " + Str::toWString(number) + ".exr";
    return name;
}

}  // namespace

void ImageRelay::relayDumps() {
    // What came meanwhile is in the next listing.
    while (relayPass()) {
    }
}

void ImageRelay::relayLastDumps() {
    constexpr int tries = 5;
    constexpr std::chrono::milliseconds pause{400};
    for (int i = 0; i < tries && master.isAlive() && (i == 0 || !waiting.empty()); ++i) {
        if (i > 0)
            std::this_thread::sleep_for(pause);
        relayDumps();
    }
    for (const auto& [path, isKnown] : waiting)
        fail(JobOutcome::TransferFailed,
             String("Image not sent: ") + String(std::u16string_view(path)));
}

void ImageRelay::fail(JobOutcome outcome, const String& line) {
    log.log(line);
    if (!firstFailure)
        firstFailure = {outcome, line};
}

/// Sends what the folder holds now; true when that was something, and the master is still there.
bool ImageRelay::relayPass() {
    Waiting left;
    bool anySent = false;
    for (const String& path : dumps.list()) {
        const Result result = relayDump(path);
        if (result.outcome == Outcome::MasterLost) {
            // Of this one the log knows.
            waiting.erase(std::u16string(path.view()));
            return false;
        }
        if (result.outcome == Outcome::LeftForLater)
            leaveForLater(path, result.reason, left);
        anySent = anySent || result.outcome == Outcome::Sent;
    }
    waiting = std::move(left);
    return anySent;
}

ImageRelay::Result ImageRelay::relayDump(const String& path) {
    const Stopwatch watch;
    FileSystem::Identity sent;
    try {
        // Closed before it is deleted.
        InputFile file(path);
        sent = file.identity();
        if (!announceAndSend(file))
            return {Outcome::MasterLost, {}};
    } catch (const FileInUse&) {
        return {Outcome::LeftForLater, {}};
    } catch (const Exception& failure) {
        return {Outcome::LeftForLater, failure.getMessage()};
    }
    log.log(String("Finished EXR dump after ") + watch.secondsText() + " s");
    // By now the name may be the next image's.
    if (config.retainExr && FileSystem::identityOf(path) == sent)
        retain(path);
    dumps.remove(path, sent);
    return {Outcome::Sent, {}};
}

void ImageRelay::leaveForLater(const String& path, const String& reason, Waiting& left) const {
    // The plug-in may have taken it back since it was listed.
    if (!FileSystem::isRegularFile(path))
        return;
    const std::u16string key(path.view());
    const auto before = waiting.find(key);
    bool& isKnown = left[key] = before != waiting.end() && before->second;
    // Most are images that the plug-in is still writing, which the log need not say.
    if (isKnown || reason.isEmpty())
        return;
    isKnown = true;
    log.log(String("Sending file to remote side failed: ") + reason);
}

bool ImageRelay::announceAndSend(InputFile& file) {
    // A size that cannot be had shows as all ones.
    const auto size = static_cast<std::uint64_t>(file.size());
    log.log(String("Started EXR dump (") + Str::getFormatted(size) +
            " bytes, filename: " + file.path() + ")");
    if (!announce() || !send(file))
        return false;
    images.add(size);
    return true;
}

bool ImageRelay::announce() {
    const int result = writeMessage(master, DumpExr::text(), Timeouts::commandWriteSeconds);
    if (result == 0)
        return true;
    fail(JobOutcome::MasterLeft,
         String("File dump signal write failed: ") + Str::toWString(std::int32_t{result}));
    master.close();
    return false;
}

bool ImageRelay::send(InputFile& file) {
    String failure;
    try {
        const int result = sendFile(master, file);
        if (result == 0)
            return true;
        failure = Str::toWString(std::int32_t{result});
    } catch (const Exception& fileFailure) {
        failure = fileFailure.getMessage();
    }
    fail(JobOutcome::TransferFailed, String("Sending file to remote side failed: ") + failure);
    // The master waits for the rest of a file that will not come; anything else that was written
    // now would end up in its image.
    master.close();
    return false;
}

void ImageRelay::retain(const String& path) {
    const String folder = config.dataFolder + "/retainedImages";
    if (!FileSystem::isFolder(folder))
        FileSystem::makeFolder(folder);
    // A copy that fails, most often for want of room, is no reason to stop the job.
    (void)FileSystem::copyFile(path, unusedName(folder + "/" + getTimestamp(true)));
}

}  // namespace Orvane
