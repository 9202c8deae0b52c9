#include "protocol/FileTransfer.h"

#include <algorithm>
#include <array>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

using Chunk = std::array<char, fileChunkBytes>;

std::size_t nextChunk(std::int64_t remaining) {
    return static_cast<std::size_t>(
        std::min<std::int64_t>(remaining, static_cast<std::int64_t>(fileChunkBytes)));
}

String folderOf(const String& path) {
    const std::u16string_view text = path.view();
    const std::size_t slash = text.find_last_of(u"/\\");
    return slash == text.npos ? String(".") : String(text.substr(0, slash + 1));
}

/// Chunks are the buffer; the library's own would split each into two calls and a copy.
void leaveBufferingOut(std::FILE* stream) {
    std::setvbuf(stream, nullptr, _IONBF, 0);
}

bool fitsOnDisk(std::int64_t size, const String& path) {
    const auto available = FileSystem::freeSpace(folderOf(path));
    return !available || static_cast<std::uint64_t>(size) <= *available;
}

}  // namespace

InputFile::InputFile(const String& filePath)
    : name(filePath),
      stream(FileSystem::openFile(filePath, "rb", FileSystem::Sharing::DenyWriters)) {
    if (stream == nullptr)
        throw fileException(name);
    if (FileSystem::isBeingWritten(name)) {
        std::fclose(stream);
        throw fileException(name);
    }
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

OutputFile::OutputFile(const String& filePath)
    : name(filePath),
      stream(FileSystem::openFile(filePath, "wb", FileSystem::Sharing::DenyWriters)) {
    if (stream == nullptr)
        throw fileException(name);
    leaveBufferingOut(stream);
}

OutputFile::~OutputFile() {
    if (stream != nullptr)
        std::fclose(stream);
}

void OutputFile::write(const void* bytes, std::size_t size) {
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

int sendFile(Connection& connection, InputFile& file, TransferProgress progress, void* argument) {
    const std::int64_t size = file.size();
    if (size < 0 || !connection.isAlive())
        return 1;
    connection.setTimeout(Timeouts::fileSendSeconds);
    connection.write(&size, sizeof(size));
    if (progress != nullptr)
        progress(argument, 0, size);
    Chunk chunk;
    for (std::int64_t remaining = size; remaining > 0;) {
        const std::size_t bytes = nextChunk(remaining);
        file.read(chunk.data(), bytes);
        const std::size_t written = connection.write(chunk.data(), bytes);
        remaining -= static_cast<std::int64_t>(bytes);
        if (written != bytes || !connection.isAlive())
            return 1;
        if (progress != nullptr)
            progress(argument, size - remaining, size);
    }
    return 0;
}

namespace {

/// Each piece goes to the file as it comes, so that the sender fills the socket again meanwhile.
/// Within the chunk's time-out; false if it did not come whole.
bool receiveChunk(Connection& connection, OutputFile& file, char* chunk, std::size_t bytes) {
    const auto deadline = connection.nextDeadline();
    std::size_t done = 0;
    while (const std::size_t got = connection.readSome(chunk + done, bytes - done, deadline)) {
        file.write(chunk + done, got);
        done += got;
        if (done == bytes)
            return true;
    }
    // A chunk is in the file as a whole even if it did not come as one.
    file.write(chunk + done, bytes - done);
    return false;
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
    if (progress != nullptr)
        progress(argument, 0, size);
    if (!fitsOnDisk(size, path))
        throw fileException(path);
    // Zeros, so that what a short read leaves in the file is never memory of this process.
    Chunk chunk{};
    for (std::int64_t remaining = size; remaining > 0;) {
        const std::size_t bytes = nextChunk(remaining);
        remaining -= static_cast<std::int64_t>(bytes);
        if (!receiveChunk(connection, file, chunk.data(), bytes))
            return 1;
        if (progress != nullptr)
            progress(argument, size - remaining, size);
    }
    file.finish();
    return 0;
}

}  // namespace Orvane
