#include "OrvaneCore/FileSystem.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "OrvaneCore/LongPath-win32.h"

namespace Orvane::FileSystem {

namespace {

DWORD shareMode(Sharing sharing) {
    switch (sharing) {
        case Sharing::All:
            return FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        case Sharing::DenyWriters:
            return FILE_SHARE_READ;
        case Sharing::DenyAll:
            break;
    }
    return 0;
}

DWORD accessOf(std::string_view mode) {
    if (mode.find('+') != mode.npos)
        return GENERIC_READ | GENERIC_WRITE;
    return mode.starts_with('r') ? GENERIC_READ : GENERIC_WRITE;
}

DWORD creationOf(std::string_view mode) {
    if (mode.starts_with('r'))
        return OPEN_EXISTING;
    return mode.starts_with('w') ? CREATE_ALWAYS : OPEN_ALWAYS;
}

int runtimeFlags(std::string_view mode) {
    const int access = accessOf(mode) == GENERIC_READ ? _O_RDONLY : 0;
    const int append = mode.starts_with('a') ? _O_APPEND : 0;
    const int text = mode.find('b') == mode.npos ? _O_TEXT : 0;
    return access | append | text | _O_NOINHERIT;
}

/// Owns the handle from here on, whatever comes of it.
std::FILE* streamOf(HANDLE file, const char* mode) {
    const int descriptor =
        _open_osfhandle(reinterpret_cast<std::intptr_t>(file), runtimeFlags(mode));
    if (descriptor < 0) {
        CloseHandle(file);
        return nullptr;
    }
    std::FILE* stream = _fdopen(descriptor, mode);
    if (stream == nullptr)
        _close(descriptor);
    return stream;
}

HANDLE handleOf(std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

DWORD attributes(const String& path) {
    return GetFileAttributesW(longPath(path).c_str());
}

/// Not by its attributes: a file that somebody holds open and that is marked for deletion still has
/// its name, and that is what counts.
bool findEntry(const String& path, WIN32_FIND_DATAW& found) {
    const std::u16string_view units = path.view();
    const std::size_t nameAt = units.find_last_of(u"/\\") + 1;
    if (units.find_first_of(u"*?", nameAt) != units.npos)
        return false;
    const HANDLE search = FindFirstFileW(longPath(path).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return false;
    FindClose(search);
    return true;
}

}  // namespace

std::FILE* openFile(const String& path, const char* mode, Sharing sharing) {
    // No security attributes: no child process inherits the handle.
    const HANDLE file = CreateFileW(longPath(path).c_str(), accessOf(mode), shareMode(sharing),
                                    nullptr, creationOf(mode), FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : streamOf(file, mode);
}

bool isBeingWritten(const String& path) {
    const HANDLE file = CreateFileW(longPath(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(file);
    return false;
}

Reading openUnlessInUse(const String& path) {
    const std::wstring name = longPath(path);
    const HANDLE file = CreateFileW(name.c_str(), accessOf("rb"), shareMode(Sharing::DenyWriters),
                                    nullptr, creationOf("rb"), FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {nullptr, GetLastError() == ERROR_SHARING_VIOLATION};
    return {streamOf(file, "rb"), false};
}

std::int64_t fileSize(const String& path) {
    const HANDLE file = CreateFileW(longPath(path).c_str(), FILE_READ_ATTRIBUTES,
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
    if (GetDiskFreeSpaceExW(longPath(folder).c_str(), &available, nullptr, nullptr) == 0)
        return std::nullopt;
    return available.QuadPart;
}

void reserve(std::FILE* stream, std::int64_t bytes) {
    FILE_ALLOCATION_INFO room{};
    room.AllocationSize.QuadPart = bytes;
    SetFileInformationByHandle(handleOf(stream), FileAllocationInfo, &room, sizeof room);
}

void returnReserved(std::FILE* /*the system does, when it is closed*/) {}

bool isRegularFile(const String& path) {
    WIN32_FIND_DATAW found{};
    return findEntry(path, found) && (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool exists(const String& path) {
    return attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool isFolder(const String& path) {
    const DWORD found = attributes(path);
    return found != INVALID_FILE_ATTRIBUTES && (found & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool deleteFile(const String& path) {
    return DeleteFileW(longPath(path).c_str()) != 0;
}

namespace {

/// Opens with FILE_READ_ATTRIBUTES and more, whatever others do with the file. Null on failure.
HANDLE openShared(const String& path, DWORD access, DWORD flags) {
    const HANDLE file = CreateFileW(longPath(path).c_str(), FILE_READ_ATTRIBUTES | access,
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
    return identityOf(handleOf(stream));
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
    return CopyFileW(longPath(from).c_str(), longPath(to).c_str(), FALSE) != 0;
}

bool renameFile(const String& from, const String& to) {
    return MoveFileExW(longPath(from).c_str(), longPath(to).c_str(), MOVEFILE_REPLACE_EXISTING) !=
           0;
}

bool emptyFile(const String& path) {
    const HANDLE file = CreateFileW(longPath(path).c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(file);
    return true;
}

bool append(const String& path, std::string_view bytes) {
    // This right alone makes every write go to the end.
    const HANDLE file = CreateFileW(longPath(path).c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool whole =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0 &&
        written == bytes.size();
    CloseHandle(file);
    return whole;
}

bool makeFolder(const String& path) {
    return CreateDirectoryW(longPath(path).c_str(), nullptr) != 0;
}

String workingDirectory() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return String(std::u16string(folder.begin(), folder.end()));
}

String portableName(const String& path) {
    if (toWide(toAnsi(path)) == path)
        return path;
    const std::wstring wide = longPath(path);
    std::wstring shortName(GetShortPathNameW(wide.c_str(), nullptr, 0), L'\0');
    shortName.resize(
        GetShortPathNameW(wide.c_str(), shortName.data(), static_cast<DWORD>(shortName.size())));
    const String name = plainPath(shortName);
    return !name.isEmpty() && toWide(toAnsi(name)) == name ? name : path;
}

bool enterFolder(const String& path) {
    // The one call that knows no other form of a long path.
    return SetCurrentDirectoryW(reinterpret_cast<const wchar_t*>(path.terminated())) != 0;
}

struct Listing::Native {
    HANDLE search = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW found{};
    bool pending = false;
};

Listing::Listing(const String& folder, const String& prefix) : native(new Native) {
    const String pattern = folder + "/" + prefix + "*";
    native->search = FindFirstFileW(longPath(pattern).c_str(), &native->found);
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
