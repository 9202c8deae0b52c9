#include "OrvaneCore/WholeFile.h"

#include <algorithm>
#include <cstdio>

#include "OrvaneCore/FileSystem.h"

namespace Orvane::WholeFile {

namespace {

bool write(const String& path, std::string_view bytes) {
    std::FILE* const file = FileSystem::openFile(path, "wb", FileSystem::Sharing::DenyWriters);
    if (file == nullptr)
        return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return (std::fclose(file) == 0) && written;
}

}  // namespace

bool replace(const String& path, std::string_view bytes) {
    const String fresh = path + ".new";
    if (write(fresh, bytes) && FileSystem::renameFile(fresh, path))
        return true;
    FileSystem::deleteFile(fresh);
    return false;
}

std::string readEnd(const String& path, std::int64_t from, std::size_t most) {
    const std::int64_t size = FileSystem::fileSize(path);
    std::FILE* const file =
        size > from ? FileSystem::openFile(path, "rb", FileSystem::Sharing::All) : nullptr;
    if (file == nullptr)
        return {};
    std::string bytes(std::min(most, static_cast<std::size_t>(size - from)), '\0');
    // From the end: a log may be larger than the 32 bits that an offset has on Windows.
    const auto behind = -static_cast<std::int64_t>(bytes.size());
    const bool there = std::fseek(file, static_cast<long>(behind), SEEK_END) == 0;
    bytes.resize(there ? std::fread(bytes.data(), 1, bytes.size(), file) : 0);
    std::fclose(file);
    return bytes;
}

}  // namespace Orvane::WholeFile
