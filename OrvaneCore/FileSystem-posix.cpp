#include "OrvaneCore/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace Orvane::FileSystem {

namespace {

std::optional<struct stat> status(const String& path) {
    struct stat found {};
    if (stat(toAnsi(path).c_str(), &found) != 0)
        return std::nullopt;
    return found;
}

}  // namespace

std::FILE* openFile(const String& path, const char* mode, Sharing /*advisory here*/) {
    const auto found = status(path);
    if (found && (S_ISFIFO(found->st_mode) || S_ISDIR(found->st_mode)))
        return nullptr;
    // "e" is close-on-exec: the host must not inherit the server's files.
    return std::fopen(toAnsi(path).c_str(), (std::string(mode) + 'e').c_str());
}

bool isBeingWritten(const String& path) {
    const int descriptor = open(toAnsi(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return false;
    // A read lease is refused while a writer has the file open. Should a writer come between taking
    // and returning it, the kernel says so by a signal that nobody minds. Other errors (a file of
    // another user, a network file system) tell nothing.
    fcntl(descriptor, F_SETSIG, SIGURG);
    const bool refused = fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
    close(descriptor);  // returns the lease
    return refused;
}

Reading openUnlessInUse(const String& path) {
    std::FILE* const stream = openFile(path, "rb", Sharing::DenyWriters);
    if (stream == nullptr || !isBeingWritten(path))
        return {stream, false};
    std::fclose(stream);
    return {nullptr, true};
}

std::int64_t fileSize(const String& path) {
    const auto found = status(path);
    return found ? static_cast<std::int64_t>(found->st_size) : -1;
}

std::int64_t fileSize(std::FILE* stream) {
    struct stat found {};
    return fstat(fileno(stream), &found) == 0 ? static_cast<std::int64_t>(found.st_size) : -1;
}

std::optional<std::uint64_t> freeSpace(const String& folder) {
    struct statvfs found {};
    // Some file systems, of networks above all, count no blocks: they are not full.
    if (statvfs(toAnsi(folder).c_str(), &found) != 0 || found.f_blocks == 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(found.f_bavail) * found.f_frsize;
}

void reserve(std::FILE* stream, std::int64_t bytes) {
    struct statfs found {};
    // In memory it only makes each page twice.
    if (fstatfs(fileno(stream), &found) != 0 || found.f_type == TMPFS_MAGIC)
        return;
    (void)fallocate(fileno(stream), FALLOC_FL_KEEP_SIZE, 0, bytes);
}

void returnReserved(std::FILE* stream) {
    (void)!ftruncate(fileno(stream), fileSize(stream));
}

bool exists(const String& path) {
    return status(path).has_value();
}

bool isRegularFile(const String& path) {
    const auto found = status(path);
    return found && S_ISREG(found->st_mode);
}

bool isFolder(const String& path) {
    const auto found = status(path);
    return found && S_ISDIR(found->st_mode);
}

bool deleteFile(const String& path) {
    return unlink(toAnsi(path).c_str()) == 0;
}

namespace {

Identity identityOf(const struct stat& found) {
    constexpr std::int64_t nanoseconds = 1000000000;
    return {found.st_dev, found.st_ino, found.st_mtim.tv_sec * nanoseconds + found.st_mtim.tv_nsec};
}

}  // namespace

std::optional<Identity> identityOf(const String& path) {
    const auto found = status(path);
    return found ? std::optional(identityOf(*found)) : std::nullopt;
}

std::optional<Identity> identityOf(std::FILE* stream) {
    struct stat found {};
    return fstat(fileno(stream), &found) == 0 ? std::optional(identityOf(found)) : std::nullopt;
}

namespace {

/// One for the whole folder. Behind a file's own name there may be no room for more, and what a
/// killed program leaves is replaced by the next.
String asideName(const String& path) {
    const std::u16string_view text = path.view();
    return String(text.substr(0, text.rfind(u'/') + 1)) + "being-deleted.tmp";
}

}  // namespace

bool deleteFile(const String& path, const Identity& file) {
    if (identityOf(path) != file)
        return false;
    // Under a name that nobody else uses it is looked at once more: another file may have been
    // renamed over it since.
    const String aside = asideName(path);
    if (!renameFile(path, aside))
        return false;
    if (identityOf(aside) == file)
        return deleteFile(aside);
    // It gets its name back, unless that belongs to a still newer one.
    if (link(toAnsi(aside).c_str(), toAnsi(path).c_str()) != 0 && errno != EEXIST)
        return !renameFile(aside, path);
    deleteFile(aside);
    return false;
}

bool copyFile(const String& from, const String& to) {
    std::error_code error;
    if (std::filesystem::copy_file(toAnsi(from), toAnsi(to),
                                   std::filesystem::copy_options::overwrite_existing, error))
        return true;
    deleteFile(to);
    return false;
}

bool renameFile(const String& from, const String& to) {
    return rename(toAnsi(from).c_str(), toAnsi(to).c_str()) == 0;
}

bool emptyFile(const String& path) {
    return truncate(toAnsi(path).c_str(), 0) == 0;
}

bool append(const String& path, std::string_view bytes) {
    const int descriptor =
        open(toAnsi(path).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0)
        return false;
    const off_t before = lseek(descriptor, 0, SEEK_END);
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    const bool whole = written == static_cast<ssize_t>(bytes.size());
    // On a full disk a part may have had room. Taking it back may fail as well.
    if (!whole && written > 0 && before >= 0 && ftruncate(descriptor, before) != 0)
        errno = ENOSPC;
    close(descriptor);
    return whole;
}

bool makeFolder(const String& path) {
    return mkdir(toAnsi(path).c_str(), 0777) == 0;
}

String workingDirectory() {
    std::array<char, 10240> buffer{};
    return getcwd(buffer.data(), buffer.size()) == nullptr ? String() : String(buffer.data());
}

String portableName(const String& folder) {
    return folder;
}

bool enterFolder(const String& path) {
    return chdir(toAnsi(path).c_str()) == 0;
}

/// Reads entries by small portions first: the relay lists a folder of a thousand images a thousand
/// times and takes the first each time, where readdir would fetch them all.
struct Listing::Native {
    int folder = -1;
    std::string prefix;
    std::vector<char> portion;
    std::size_t filled = 0;
    std::size_t at = 0;

    ~Native() {
        if (folder >= 0)
            close(folder);
    }

    /// Null at the end.
    const dirent64* nextEntry() {
        if (at == filled && !fetch())
            return nullptr;
        const auto* entry = reinterpret_cast<const dirent64*>(&portion[at]);
        at += entry->d_reclen;
        return entry;
    }

  private:
    bool fetch() {
        constexpr std::size_t smallest = 1024;  // at least three entries
        constexpr std::size_t largest = 32768;
        if (folder < 0)
            return false;
        portion.resize(std::clamp(portion.size() * 2, smallest, largest));
        const ssize_t bytes = getdents64(folder, portion.data(), portion.size());
        at = 0;
        filled = bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
        return filled > 0;
    }
};

Listing::Listing(const String& folder, const String& prefix) : native(new Native) {
    native->folder = open(toAnsi(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    native->prefix = toAnsi(prefix);
}

Listing::~Listing() = default;

namespace {

bool isFileEntry(int folder, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK)
        return entry.d_type == DT_REG;
    struct stat found {};
    return fstatat(folder, entry.d_name, &found, 0) == 0 && S_ISREG(found.st_mode);
}

}  // namespace

std::optional<Listing::Entry> Listing::next() {
    while (const dirent64* entry = native->nextEntry()) {
        const std::string_view name = entry->d_name;
        if (name.starts_with(native->prefix))
            return Entry{toWide(name), isFileEntry(native->folder, *entry)};
    }
    return std::nullopt;
}

}  // namespace Orvane::FileSystem
