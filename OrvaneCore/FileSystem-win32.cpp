#include "OrvaneCore/FileSystem.h"

#include <direct.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <array>
#include <string>

namespace Orvane::FileSystem {

namespace {

const wchar_t* native(const String& path) {
    return reinterpret_cast<const wchar_t*>(path.terminated());
}

int shareFlag(Sharing sharing) {
    switch (sharing) {
        case Sharing::All:
            return _SH_DENYNO;
        case Sharing::DenyWriters:
            return _SH_DENYWR;
        case Sharing::DenyAll:
            break;
    }
    return _SH_DENYRW;
}

DWORD attributes(const String& path) {
    return GetFileAttributesW(native(path));
}

}  // namespace

std::FILE* openFile(const String& path, const char* mode, Sharing sharing) {
    // "N" is "not inherited": the host must not get the server's files.
    const std::wstring wideMode =
        std::wstring(mode, mode + std::char_traits<char>::length(mode)) + L"N";
    return _wfsopen(native(path), wideMode.c_str(), shareFlag(sharing));
}

bool isBeingWritten(const String& path) {
    const HANDLE file = CreateFileW(native(path), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(file);
    return false;
}

std::int64_t fileSize(const String& path) {
    const HANDLE file = CreateFileW(native(path), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER size{};
    const bool known = GetFileSizeEx(file, &size) != 0;
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
    return known ? size.QuadPart : -1;
}

std::int64_t fileSize(std::FILE* stream) {
    return _filelengthi64(_fileno(stream));
}

std::optional<std::uint64_t> freeSpace(const String& folder) {
    ULARGE_INTEGER available{};
    if (GetDiskFreeSpaceExW(native(folder), &available, nullptr, nullptr) == 0)
        return std::nullopt;
    return available.QuadPart;
}

bool isRegularFile(const String& path) {
    // The 8-bit query of the runtime, not an attribute query: a file that another process holds
    // open and that is marked for deletion must count as gone only when the runtime says so.
    struct _stat64i32 found {};
    return _stat64i32(path.narrow(), &found) == 0 && (found.st_mode & _S_IFREG) != 0;
}

bool exists(const String& path) {
    return attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool isFolder(const String& path) {
    const DWORD found = attributes(path);
    return found != INVALID_FILE_ATTRIBUTES && (found & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool deleteFile(const String& path) {
    return DeleteFileW(native(path)) != 0;
}

bool copyFile(const String& from, const String& to) {
    return CopyFileW(native(from), native(to), FALSE) != 0;
}

bool renameFile(const String& from, const String& to) {
    return MoveFileExW(native(from), native(to), MOVEFILE_REPLACE_EXISTING) != 0;
}

bool emptyFile(const String& path) {
    const HANDLE file = CreateFileW(native(path), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(file);
    return true;
}

bool makeFolder(const String& path) {
    return _mkdir(path.narrow()) == 0;
}

String workingDirectory() {
    std::array<char, 10240> buffer{};
    return _getcwd(buffer.data(), static_cast<int>(buffer.size())) == nullptr
               ? String()
               : String(buffer.data());
}

bool enterFolder(const String& path) {
    return SetCurrentDirectoryW(native(path)) != 0;
}

struct Listing::Native {
    HANDLE search = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW found{};
    bool pending = false;
};

Listing::Listing(const String& folder, const String& prefix) : native(new Native) {
    const String pattern = folder + "/" + prefix + "*";
    native->search = FindFirstFileW(FileSystem::native(pattern), &native->found);
    native->pending = native->search != INVALID_HANDLE_VALUE;
}

Listing::~Listing() {
    if (native->search != INVALID_HANDLE_VALUE)
        FindClose(native->search);
}

std::optional<Listing::Entry> Listing::next() {
    if (!native->pending)
        return std::nullopt;
    Entry entry{String(reinterpret_cast<const char16_t*>(native->found.cFileName)),
                (native->found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0};
    native->pending = FindNextFileW(native->search, &native->found) != 0;
    return entry;
}

}  // namespace Orvane::FileSystem
