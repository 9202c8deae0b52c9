#include "TemporaryPath.h"

#include <mutex>
#include <set>

namespace Orvane {

namespace {

struct Living {
    std::mutex mutex;  // guards the other
    std::set<const TemporaryPath*> paths;
};

Living& living() {
    static Living all;
    return all;
}

void removeQuietly(const std::filesystem::path& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace

TemporaryPath::TemporaryPath(std::filesystem::path toBeRemoved) : removed(std::move(toBeRemoved)) {
    const std::lock_guard lock(living().mutex);
    living().paths.insert(this);
}

TemporaryPath::~TemporaryPath() {
    const std::lock_guard lock(living().mutex);
    living().paths.erase(this);
    removeQuietly(removed);
}

void TemporaryPath::removeAll() {
    const std::lock_guard lock(living().mutex);
    for (const auto* path : living().paths)
        removeQuietly(path->path());
}

}  // namespace Orvane
