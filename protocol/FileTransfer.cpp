#include "protocol/FileTransfer.h"

#include <algorithm>
#include <array>
#include <memory>

#include "OrvaneCore/FileSystem.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

constexpr auto chunkBytes = static_cast<std::int64_t>(fileChunkBytes);
constexpr std::size_t bufferBytes = 8 * fileChunkBytes;

/// Page by page out of a file's pages or into them; one of twice the size is now and then half as
/// fast.
struct alignas(4096) Buffer {
    std::array<char, bufferBytes> bytes;
};

/// Of one file: how far it is and how long the next bytes may take. Each chunk has the connection's
/// time-out from when the one before it was through.
class Course {
  public:
    Course(const Connection& used, std::int64_t fileSize, TransferProgress callback, void* argument)
        : connection(used),
          size(fileSize),
          deadline(used.nextDeadline()),
          progress(callback),
          progressArgument(argument) {
        report();
    }

    std::int64_t moved() const { return done; }
    std::int64_t left() const { return size - done; }
    /// At most `most`.
    std::size_t leftUpTo(std::size_t most) const {
        return static_cast<std::size_t>(std::min(left(), static_cast<std::int64_t>(most)));
    }
    Connection::Clock::time_point nextDeadline() const { return deadline; }
    /// Not later: who watches is called also while nothing moves, and may have had enough.
    Connection::Clock::time_point nextLook() const {
        constexpr std::chrono::seconds longestUnwatched{1};
        const auto look = Connection::Clock::now() + longestUnwatched;
        return progress != nullptr ? std::min(deadline, look) : deadline;
    }
    bool isInTime() const { return Connection::Clock::now() < deadline; }

    void add(std::size_t bytes) {
        const std::int64_t chunk = done / chunkBytes;
        done += static_cast<std::int64_t>(bytes);
        if (done / chunkBytes != chunk)
            deadline = connection.nextDeadline();
        report();
    }

  private:
    void report() const {
        if (progress != nullptr)
            progress(progressArgument, done, size);
    }

    const Connection& connection;
    const std::int64_t size;
    std::int64_t done = 0;
    Connection::Clock::time_point deadline;
    const TransferProgress progress;
    void* const progressArgument;
};

String folderOf(const String& path) {
    const std::u16string_view text = path.view();
    const std::size_t slash = text.find_last_of(u"/\\");
    return slash == text.npos ? String(".") : String(text.substr(0, slash + 1));
}

/// Buffers are the caller's; the library's own would split each into two calls and a copy.
void leaveBufferingOut(std::FILE* stream) {
    std::setvbuf(stream, nullptr, _IONBF, 0);
}

bool fitsOnDisk(std::int64_t size, const String& path) {
    const auto available = FileSystem::freeSpace(folderOf(path));
    return !available || static_cast<std::uint64_t>(size) <= *available;
}

}  // namespace

InputFile::InputFile(const String& filePath) : name(filePath) {
    const FileSystem::Reading opened = FileSystem::openUnlessInUse(name);
    if (opened.isInUse)
        throw FileInUse(name);
    if (opened.stream == nullptr)
        throw fileException(name);
    stream = opened.stream;
    leaveBufferingOut(stream);
    bytes = FileSystem::fileSize(stream);
}

InputFile::~InputFile() {
    std::fclose(stream);
}

FileSystem::Identity InputFile::identity() const {
    // Of an open file it can always be had.
    return FileSystem::identityOf(stream).value_or(FileSystem::Identity{});
}

void InputFile::read(void* buffer, std::size_t count) {
    if (std::fread(buffer, 1, count, stream) != count)
        throw fileException(name);
    moved += static_cast<std::int64_t>(count);
}

std::size_t InputFile::sendSome(Connection& connection, std::int64_t most,
                                Connection::Clock::time_point deadline) {
    // In one call: enough to be worth it, little enough to be still in the caches when it is taken.
    constexpr std::int64_t atOnce = 2 * chunkBytes;
    const std::size_t sent =
        connection.sendSome(stream, static_cast<std::size_t>(std::min(most, atOnce)), deadline);
    moved += static_cast<std::int64_t>(sent);
    return sent;
}

OutputFile::OutputFile(const String& filePath)
    : name(filePath),
      stream(FileSystem::openFile(filePath, "wb", FileSystem::Sharing::DenyWriters)) {
    if (stream == nullptr)
        throw fileException(name);
    leaveBufferingOut(stream);
}

OutputFile::~OutputFile() {
    if (stream == nullptr)
        return;
    if (reserved > moved)
        FileSystem::returnReserved(stream);
    std::fclose(stream);
}

void OutputFile::announce(std::int64_t size) {
    announced = size;
}

void OutputFile::reserveFor(std::int64_t end) {
    // A peer that announces a full disk, and then sends next to nothing, keeps no more than this.
    constexpr std::int64_t ahead = std::int64_t{64} << 20;
    if (end <= reserved || end >= announced)
        return;
    reserved = std::min(announced, end + ahead);
    FileSystem::reserve(stream, reserved);
}

void OutputFile::write(const void* bytes, std::size_t size) {
    reserveFor(moved + static_cast<std::int64_t>(size));
    if (std::fwrite(bytes, 1, size, stream) != size)
        throw fileException(name);
    moved += static_cast<std::int64_t>(size);
}

void OutputFile::finish() {
    std::FILE* const closing = stream;
    stream = nullptr;
    if (closing != nullptr && std::fclose(closing) != 0)
        throw fileException(name);
}

int sendFile(Connection& connection, const String& path) {
    if (!connection.isAlive())
        return 1;
    InputFile file(path);
    return sendFile(connection, file);
}

namespace {

int sendCopies(Connection& connection, InputFile& file, Course& course) {
    const auto aligned = std::make_unique_for_overwrite<Buffer>();
    char* const buffer = aligned->bytes.data();
    while (course.left() > 0) {
        const std::size_t bytes = course.leftUpTo(bufferBytes);
        file.read(buffer, bytes);
        for (std::size_t done = 0; done < bytes;) {
            const std::size_t sent =
                connection.writeSome(buffer + done, bytes - done, course.nextLook());
            if (sent == 0 && !(connection.isAlive() && course.isInTime()))
                return 1;
            done += sent;
            course.add(sent);
        }
    }
    return 0;
}

}  // namespace

int sendFile(Connection& connection, InputFile& file, TransferProgress progress, void* argument) {
    const std::int64_t size = file.size();
    if (size < 0 || !connection.isAlive())
        return 1;
    connection.setTimeout(Timeouts::fileSendSeconds);
    // Not looked at: where it fails the bytes do, too.
    if (size > 0)
        connection.writeHead(&size, sizeof(size));
    else
        connection.write(&size, sizeof(size));
    Course course(connection, size, progress, argument);
    while (course.left() > 0) {
        const std::size_t sent = file.sendSome(connection, course.left(), course.nextLook());
        if (sent == 0)
            return sendCopies(connection, file, course);
        course.add(sent);
    }
    return 0;
}

namespace {

/// A chunk is in the file as a whole even if it did not come as one: the rest is what a buffer of
/// one chunk would still hold of the chunk before.
void fillUpChunk(OutputFile& file, const char* buffer, const Course& course) {
    const std::int64_t at = course.moved();
    const std::size_t missing =
        course.leftUpTo(static_cast<std::size_t>(chunkBytes - at % chunkBytes));
    const auto before = static_cast<std::size_t>(at < chunkBytes ? at : at - chunkBytes);
    file.write(buffer + before % bufferBytes, missing);
}

/// Each piece goes to the file as it comes, so that the sender fills the socket again meanwhile.
int receiveChunks(Connection& connection, OutputFile& file, Course& course) {
    const auto aligned = std::make_unique_for_overwrite<Buffer>();
    char* const buffer = aligned->bytes.data();
    // Zeros, so that what a short read leaves in the file is never memory of this process.
    std::fill_n(buffer, fileChunkBytes, '\0');
    while (course.left() > 0) {
        const std::size_t at = static_cast<std::size_t>(course.moved()) % bufferBytes;
        const std::size_t got = connection.readSome(buffer + at, course.leftUpTo(bufferBytes - at),
                                                    course.nextDeadline());
        if (got == 0) {
            fillUpChunk(file, buffer, course);
            return 1;
        }
        file.write(buffer + at, got);
        course.add(got);
    }
    return 0;
}

}  // namespace

int receiveFile(Connection& connection, const String& path, TransferProgress progress,
                void* argument) {
    if (!connection.isAlive())
        return 1;
    OutputFile file(path);
    std::int64_t size = -1;
    connection.setTimeout(Timeouts::fileReceiveSeconds);
    if (connection.read(&size, sizeof(size)) != sizeof(size) || size < 0)
        return 1;
    Course course(connection, size, progress, argument);
    if (!fitsOnDisk(size, path))
        throw fileException(path);
    file.announce(size);
    const int result = receiveChunks(connection, file, course);
    if (result == 0)
        file.finish();
    return result;
}

}  // namespace Orvane
