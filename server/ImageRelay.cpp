#include "server/ImageRelay.h"

#include <algorithm>
#include <optional>
#include <thread>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Stopwatch.h"
#include "OrvaneCore/Timestamp.h"
#include "protocol/DrMessage.h"
#include "protocol/FileTransfer.h"
#include "protocol/Framing.h"
#include "server/DumpFiles.h"

namespace Orvane {

namespace {

constexpr int announcementTimeoutSeconds = 10;

}  // namespace

void ImageRelay::relayDumps() {
    passedOver.clear();
    String path = findDumpFile(config);
    while (!path.isEmpty() && relayDump(path))
        path = findDumpFile(config, passedOver);
}

void ImageRelay::relayLastDumps() {
    constexpr int tries = 5;
    constexpr std::chrono::milliseconds pause{400};
    for (int i = 0; i < tries && master.isAlive() && (i == 0 || !passedOver.empty()); ++i) {
        if (i > 0)
            std::this_thread::sleep_for(pause);
        relayDumps();
    }
    for (const String& path : passedOver)
        log.log(String("Image not sent: ") + path);
}

bool ImageRelay::relayDump(const String& path) {
    const Stopwatch watch;
    {
        std::optional<InputFile> file;
        try {
            file.emplace(path);
        } catch (const Exception& failure) {
            passOver(path, failure.getMessage());
            return true;
        }
        // A size that cannot be had shows as all ones.
        const auto size = static_cast<std::uint64_t>(FileSystem::fileSize(path));
        log.log(String("Started EXR dump (") + Str::getFormatted(size) +
                " bytes, filename: " + path + ")");
        if (!announce() || !send(*file))
            return false;
    }
    log.log(String("Finished EXR dump after ") + watch.secondsText() + " s");
    if (config.retainExr)
        retain(path);
    removeDumpFile(path, log);
    return true;
}

void ImageRelay::passOver(const String& path, const String& reason) {
    passedOver.push_back(path);
    // Most are images that the plug-in is still writing, which is nothing to talk about.
    if (FileSystem::isBeingWritten(path) ||
        std::find(complained.begin(), complained.end(), path) != complained.end())
        return;
    complained.push_back(path);
    log.log(String("Sending file to remote side failed: ") + reason);
}

bool ImageRelay::announce() {
    const String announcement = buildMessage(Tag::command, Tag::commandChild, Tag::dumpExr);
    const int result = writeMessage(master, announcement, announcementTimeoutSeconds);
    if (result == 0)
        return true;
    log.log(String("File dump signal write failed: ") + Str::toWString(std::int32_t{result}));
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
    log.log(String("Sending file to remote side failed: ") + failure);
    // The master waits for the rest of a file that will not come; anything else that was written
    // now would end up in its image.
    master.close();
    return false;
}

void ImageRelay::retain(const String& path) {
    const String folder = config.dataFolder + "/retainedImages";
    if (!FileSystem::isFolder(folder))
        FileSystem::makeFolder(folder);
    FileSystem::copyFile(path, folder + "/" + getTimestamp(true) + ".exr");
}

}  // namespace Orvane
