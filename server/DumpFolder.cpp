#include "server/DumpFolder.h"

#include <thread>

namespace Orvane {

namespace {

/// Whether the name still stands for this file. One that is only waiting for its last user cannot
/// be looked at, but has its name.
bool isThere(const String& path, const FileSystem::Identity& image) {
    auto found = FileSystem::identityOf(path);
    // Between two looks a new file may have come.
    if (!found && FileSystem::isRegularFile(path)) {
        found = FileSystem::identityOf(path);
        return !found || *found == image;
    }
    return found == image;
}

}  // namespace

std::vector<String> DumpFolder::list() {
    std::vector<String> paths;
    FileSystem::Listing listing(config.dataFolder, "dump");
    while (const auto entry = listing.next()) {
        const String path = config.dataFolder + "/" + entry->name;
        if (entry->isFile && Str::endsWith(entry->name, u".exr") && !isSetAside(path))
            paths.push_back(path);
    }
    return paths;
}

bool DumpFolder::isSetAside(const String& path) {
    const auto known = setAside.find(std::u16string(path.view()));
    return known != setAside.end() && isThere(path, known->second);
}

void DumpFolder::remove(const String& path, const FileSystem::Identity& image) {
    remove(path, image, Stopwatch());
}

void DumpFolder::remove(const String& path, const FileSystem::Identity& image,
                        const Stopwatch& watch) {
    constexpr std::chrono::seconds longest{10};
    constexpr std::chrono::milliseconds pollPeriod{200};
    FileSystem::deleteFile(path, image);
    log.log(String("Removed file: ") + path);
    while (isThere(path, image)) {
        if (stopRequested || watch.elapsed() >= longest) {
            setAside[std::u16string(path.view())] = image;
            log.log(String("Set aside an image that cannot be deleted: ") + path);
            return;
        }
        log.log(String("Waiting for file deletion: ") + path);
        std::this_thread::sleep_for(pollPeriod);
        FileSystem::deleteFile(path, image);
    }
}

void DumpFolder::removeAll() {
    retrySetAside();
    // For all together: a master waits, and there may be hundreds that cannot go.
    const Stopwatch watch;
    // What came meanwhile is in the next listing.
    while (removePass(watch)) {
    }
}

void DumpFolder::retrySetAside() {
    for (auto known = setAside.begin(); known != setAside.end();) {
        const String path{std::u16string_view(known->first)};
        if (FileSystem::deleteFile(path, known->second))
            log.log(String("Removed file: ") + path);
        known = isThere(path, known->second) ? std::next(known) : setAside.erase(known);
    }
}

/// False when there was nothing to do.
bool DumpFolder::removePass(const Stopwatch& watch) {
    bool anyFound = false;
    for (const String& path : list()) {
        const auto image = FileSystem::identityOf(path);
        if (image)
            remove(path, *image, watch);
        anyFound = anyFound || image.has_value();
    }
    return anyFound;
}

}  // namespace Orvane
