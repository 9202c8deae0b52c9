#include "FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "OutputFolder.h"

namespace Orvane {

struct FolderLock::Native {
    std::filesystem::path path;
    int descriptor = -1;

    /// False when the last owner removed the file between our open and our lock.
    bool isThere() const {
        struct stat opened {};
        struct stat named {};
        return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
               opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    }
};

namespace {

/// Locked, or -1.
int openLocked(const std::filesystem::path& path) {
    constexpr mode_t everybody = 0666;
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, everybody);
    if (descriptor < 0 || flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return -1;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) : native(std::make_unique<Native>()) {
    native->path = folder / lockName;
    for (;;) {
        native->descriptor = openLocked(native->path);
        if (native->descriptor < 0)
            throw errno == EWOULDBLOCK ? folderInUse(folder) : unwritableFolder(folder);
        if (native->isThere())
            return;
        close(native->descriptor);
    }
}

FolderLock::~FolderLock() {
    unlink(native->path.c_str());
    close(native->descriptor);
}

}  // namespace Orvane
