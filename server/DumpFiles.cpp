#include "server/DumpFiles.h"

#include <algorithm>
#include <thread>

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"

namespace Orvane {

String findDumpFile(const DrConfig& config, const std::vector<String>& passedOver) {
    FileSystem::Listing listing(config.dataFolder, "dump");
    while (const auto entry = listing.next()) {
        if (!entry->isFile || !Str::endsWith(entry->name, u".exr"))
            continue;
        String path = config.dataFolder + "/" + entry->name;
        if (std::find(passedOver.begin(), passedOver.end(), path) == passedOver.end())
            return path;
    }
    return {};
}

void removeDumpFile(const String& path, DrLog& log) {
    FileSystem::deleteFile(path);
    log.log(String("Removed file: ") + path);
    while (FileSystem::isRegularFile(path)) {
        log.log(String("Waiting for file deletion: ") + path);
        std::this_thread::sleep_for(Timeouts::deletionPoll);
    }
}

void removeDumpFiles(const DrConfig& config, DrLog& log) {
    for (String path = findDumpFile(config); !path.isEmpty(); path = findDumpFile(config))
        removeDumpFile(path, log);
}

}  // namespace Orvane
