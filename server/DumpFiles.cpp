#include "server/DumpFiles.h"

#include <thread>

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

/// Looks through a folder for one image after the other.
class DumpListing {
  public:
    explicit DumpListing(const DrConfig& config)
        : folder(config.dataFolder), listing(folder, "dump") {}

    /// A path; empty at the end.
    String next() {
        while (const auto entry = listing.next()) {
            if (entry->isFile && Str::endsWith(entry->name, u".exr"))
                return folder + "/" + entry->name;
        }
        return {};
    }

  private:
    const String& folder;
    FileSystem::Listing listing;
};

}  // namespace

std::vector<String> listDumpFiles(const DrConfig& config) {
    std::vector<String> paths;
    DumpListing listing(config);
    for (String path = listing.next(); !path.isEmpty(); path = listing.next())
        paths.push_back(path);
    return paths;
}

String findDumpFile(const DrConfig& config) {
    return DumpListing(config).next();
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
