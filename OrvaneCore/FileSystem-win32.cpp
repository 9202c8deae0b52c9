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

namespace {

/// Opens with FILE_READ_ATTRIBUTES and more, whatever others do with the file. Null on failure.
HANDLE openShared(const String& path, DWORD access, DWORD flags) {
    const HANDLE file = CreateFileW(native(path), FILE_READ_ATTRIBUTES | access,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | flags, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

std::optional<Identity> identityOf(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION found{};
    if (GetFileInformationByHandle(file, &found) == 0)
        return std::nullopt;
    const auto joined = [](DWORD high, DWORD low) {
        return std::uint64_t{high} << 32U | std::uint64_t{low};
    };
    return Identity{found.dwVolumeSerialNumber, joined(found.nFileIndexHigh, found.nFileIndexLow),
                    static_cast<std::int64_t>(joined(found.ftLastWriteTime.dwHighDateTime,
                                                     found.ftLastWriteTime.dwLowDateTime))};
}

bool isLink(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION found{};
    return GetFileInformationByHandle(file, &found) != 0 &&
           (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// The name goes at once where the system can do that, and else with the last handle.
bool markForDeletion(HANDLE file) {
    constexpr auto extendedClass = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    struct {
        ULONG flags = 0x1 | 0x2;  // delete, and as POSIX does it
    } extended;
    FILE_DISPOSITION_INFO plain{TRUE};
    return SetFileInformationByHandle(file, extendedClass, &extended, sizeof extended) != 0 ||
           SetFileInformationByHandle(file, FileDispositionInfo, &plain, sizeof plain) != 0;
}

}  // namespace

std::optional<Identity> identityOf(const String& path) {
    const HANDLE file = openShared(path, 0, 0);
    if (file == nullptr)
        return std::nullopt;
    const auto identity = identityOf(file);
    CloseHandle(file);
    return identity;
}

std::optional<Identity> identityOf(std::FILE* stream) {
    return identityOf(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))));
}

bool deleteFile(const String& path, const Identity& file) {
    if (identityOf(path) != file)
        return false;
    const HANDLE found = openShared(path, DELETE, FILE_FLAG_OPEN_REPARSE_POINT);
    if (found == nullptr)
        return false;
    // By its handle, so that no other file can have the name by now.
    const bool deleted = (isLink(found) || identityOf(found) == file) && markForDeletion(found);
    CloseHandle(found);
    return deleted;
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
