#include "FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
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
    if (!staysThere)
        unlink(native->path.c_str());
    close(native->descriptor);
}

std::string FolderLock::text() const {
    std::string all;
    std::array<char, 4096> part{};
    ssize_t got = 0;
    while ((got = pread(native->descriptor, part.data(), part.size(),
                        static_cast<off_t>(all.size()))) > 0)
        all.append(part.data(), static_cast<std::size_t>(got));
    return all;
}

bool FolderLock::append(const std::string& more) {
    return lseek(native->descriptor, 0, SEEK_END) >= 0 &&
           write(native->descriptor, more.data(), more.size()) == static_cast<ssize_t>(more.size());
}

bool FolderLock::clear() {
    return ftruncate(native->descriptor, 0) == 0;
}

}  // namespace Orvane
