#include "protocol/FileTransfer.h"

#include <algorithm>
#include <array>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"

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
}

InputFile::~InputFile() {
    std::fclose(stream);
}

void InputFile::read(void* buffer, std::size_t size) {
    if (std::fread(buffer, 1, size, stream) != size)
        throw fileException(name);
    moved += static_cast<std::int64_t>(size);
}

OutputFile::OutputFile(const String& filePath)
    : name(filePath),
      stream(FileSystem::openFile(filePath, "wb", FileSystem::Sharing::DenyWriters)) {
    if (stream == nullptr)
        throw fileException(name);
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
    const std::int64_t size = FileSystem::fileSize(file.path());
    if (size < 0 || !connection.isAlive())
        return 1;
    connection.setTimeout(fileSendTimeoutSeconds);
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

int receiveFile(Connection& connection, const String& path, TransferProgress progress,
                void* argument) {
    if (!connection.isAlive())
        return 1;
    OutputFile file(path);
    std::int64_t size = -1;
    connection.setTimeout(fileReceiveTimeoutSeconds);
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
        const std::size_t read = connection.read(chunk.data(), bytes);
        // The whole chunk goes to the file before the count is looked at.
        file.write(chunk.data(), bytes);
        remaining -= static_cast<std::int64_t>(bytes);
        if (read != bytes)
            return 1;
        if (progress != nullptr)
            progress(argument, size - remaining, size);
    }
    file.finish();
    return 0;
}

}  // namespace Orvane
