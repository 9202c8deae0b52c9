#include "OrvaneCore/LogRotation.h"

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

String numbered(const String& path, std::int32_t number) {
    return path + "." + Str::toWString(number);
}

/// Makes room for a new number one. Only as many move as must: a file that cannot be moved aside
/// after all must not cost an old one with each attempt.
void shift(const String& path) {
    std::int32_t gap = 1;
    while (gap < keptLogs && FileSystem::exists(numbered(path, gap)))
        ++gap;
    for (; gap > 1; --gap)
        FileSystem::renameFile(numbered(path, gap - 1), numbered(path, gap));
}

bool copyAndEmpty(const String& path, const String& target) {
    if (!FileSystem::copyFile(path, target))
        return false;
    if (FileSystem::emptyFile(path))
        return true;
    // Or each line would be there twice.
    FileSystem::deleteFile(target);
    return false;
}

}  // namespace

bool moveAside(const String& path, std::uint64_t limit) {
    const std::int64_t size = FileSystem::fileSize(path);
    if (limit == 0 || !FileSystem::isRegularFile(path) || size < 0 ||
        static_cast<std::uint64_t>(size) < limit)
        return false;
    shift(path);
    const String target = numbered(path, 1);
    return FileSystem::renameFile(path, target) || copyAndEmpty(path, target);
}

}  // namespace Orvane
