#include "server/SceneFile.h"

#include <string>

#include "OrvaneCore/DevelopmentVersion.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/RandomSource.h"
#include "OrvaneCore/Stopwatch.h"
#include "protocol/FileTransfer.h"

namespace Orvane {

namespace {

const char* const prefix = "received_scene_";
const char* const suffix = ".max";

}  // namespace

SceneFile::SceneFile(const DrConfig& settings, DrLog& target)
    : config(settings),
      log(target),
      file(settings.dataFolder + "/" + prefix + String(std::to_string(randomNumber())) + suffix) {
    removeLeftovers();
}

void SceneFile::removeLeftovers() {
    if (isDevelopmentVersion())
        return;
    FileSystem::Listing listing(config.dataFolder, prefix);
    while (const auto entry = listing.next()) {
        const String leftover = config.dataFolder + "/" + entry->name;
        if (entry->isFile && Str::endsWith(entry->name, String(suffix).view()) &&
            FileSystem::deleteFile(leftover))
            log.log(String("Removed file: ") + leftover);
    }
}

bool SceneFile::download(Connection& master, const JobPlan& plan, JobReceipt& receipt) {
    const Stopwatch watch;
    log.log(String("Downloading 3ds max ") + Str::toWString(plan.sceneYear) +
            " scene to render with 3ds max " + Str::toWString(plan.hostYear));
    bool whole = false;
    try {
        whole = receiveFile(master, file) == 0;
    } catch (const Exception& failure) {
        log.log(failure.getMessage());
        receipt.ending = {JobOutcome::Disk, failure.getMessage()};
        return false;
    }
    const auto size = static_cast<std::uint64_t>(FileSystem::fileSize(file));
    const String line = String("Downloaded scene: ") + Str::getFormatted(size) + " bytes in " +
                        watch.secondsText() + " s";
    log.log(line);
    receipt.sceneBytes = size;
    receipt.seconds.download = watch.exactSeconds();
    if (!whole)
        receipt.ending = {JobOutcome::TransferFailed, line};
    return true;
}

void SceneFile::remove() {
    if (!isDevelopmentVersion())
        FileSystem::deleteFile(file);
}

}  // namespace Orvane
