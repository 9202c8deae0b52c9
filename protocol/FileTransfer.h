#pragma once

#include <cstdint>
#include <cstdio>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "protocol/Connection.h"

namespace Orvane {

/// A file on a stream is its size (8 bytes, signed, little-endian) and its bytes, in chunks: each
/// has the time-out to itself, and a broken transfer leaves whole ones. How many bytes a call moves
/// is another matter.
constexpr std::size_t fileChunkBytes = 0x10000;

/// The file exception for a file that somebody is still writing: not yet a failure.
class FileInUse : public Exception {
  public:
    explicit FileInUse(const String& path) : Exception(fileException(path)) {}
};

/// A file opened for sending. Throws FileInUse for one that somebody is still writing, where the
/// platform can tell, and the file exception on a failed open or a short read.
class InputFile {
  public:
    explicit InputFile(const String& filePath);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    void read(void* buffer, std::size_t count);
    /// Sends some of the bytes that come next, as Connection::sendSome() does.
    std::size_t sendSome(Connection& connection, std::int64_t most,
                         Connection::Clock::time_point deadline);
    const String& path() const { return name; }
    /// As it was when the file was opened; -1 when it cannot be had.
    std::int64_t size() const { return bytes; }
    /// Which file it is, whatever its name stands for meanwhile.
    FileSystem::Identity identity() const;
    std::int64_t bytesMoved() const { return moved; }

  private:
    String name;
    std::FILE* stream = nullptr;
    std::int64_t bytes = -1;
    std::int64_t moved = 0;
};

/// A file being received; replaces an existing one. Throws the file exception on a failed open or a
/// short write.
class OutputFile {
  public:
    explicit OutputFile(const String& filePath);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// How long the file will be, as a peer says: it gets its room on the disk ahead of its bytes,
    /// a little at a time.
    void announce(std::int64_t size);
    void write(const void* bytes, std::size_t size);
    /// Closes and throws if the last bytes did not reach the file.
    void finish();
    std::int64_t bytesMoved() const { return moved; }

  private:
    void reserveFor(std::int64_t end);

    String name;
    std::FILE* stream;
    std::int64_t moved = 0;
    std::int64_t announced = 0;
    std::int64_t reserved = 0;
};

/// Called when the size is known and whenever bytes went, with the bytes moved so far and the size.
using TransferProgress = void (*)(void* argument, std::int64_t moved, std::int64_t size);

/// All answer 0 for success and 1 for a failed connection, and throw the file exception when the
/// file itself fails.
[[nodiscard]] int sendFile(Connection& connection, const String& path);
[[nodiscard]] int sendFile(Connection& connection, InputFile& file,
                           TransferProgress progress = nullptr, void* argument = nullptr);
/// A failed transfer leaves the partial file. A size beyond the free space of the file's folder is
/// a failure of the file, found before anything is written.
[[nodiscard]] int receiveFile(Connection& connection, const String& path,
                              TransferProgress progress = nullptr, void* argument = nullptr);

}  // namespace Orvane
