#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

#include "OrvaneCore/String.h"

/// Files and folders by wide path, on Windows of any length and with any letters. On Linux a path
/// travels in its 8-bit form, which every path on disk survives. Nothing here throws but for lack
/// of memory. All may be called from any thread.
namespace Orvane::FileSystem {

/// What others may do with a file while it is open. Enforced on Windows only.
enum class Sharing { All, DenyWriters, DenyAll };

/// Opens with a stdio mode ("rb", "a+", ...; without "b" it is text mode). Never inherited by child
/// processes. Never waits for the other end of a pipe: those, and folders, are not opened. Null on
/// failure; the caller closes the stream.
std::FILE* openFile(const String& path, const char* mode, Sharing sharing);
/// Whether somebody has the file open for writing, where the platform can tell.
bool isBeingWritten(const String& path);
struct Reading {
    std::FILE* stream = nullptr;  ///< as openFile() opens it with "rb" and DenyWriters
    bool isInUse = false;         ///< why there is none: somebody writes the file, or renames it
};
/// Asked in one go with the opening: a moment later a file that was in use may be so no more.
Reading openUnlessInUse(const String& path);

/// Bytes, or -1 when it cannot be had.
std::int64_t fileSize(const String& path);
/// The same of an open file, whatever becomes of its name meanwhile.
std::int64_t fileSize(std::FILE* stream);
/// Bytes that this user may still write in the folder; nothing when it cannot be had.
std::optional<std::uint64_t> freeSpace(const String& folder);
/// Takes room for an open file up to this size, so that writing need not find it piece by piece.
/// Its size stays, and a file system that has no such thing, or no room, goes on without. The
/// stream's writes have all reached the file.
void reserve(std::FILE* stream, std::int64_t bytes);
/// Gives back what reserve() took behind the file's end.
void returnReserved(std::FILE* stream);
/// Whatever it is; a link that leads nowhere is nothing.
bool exists(const String& path);
bool isRegularFile(const String& path);
bool isFolder(const String& path);

bool deleteFile(const String& path);

/// Tells a file and its content from every other that has had its name, or has it now.
struct Identity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;
    std::int64_t written = 0;  ///< when, in the platform's units

    friend bool operator==(const Identity&, const Identity&) = default;
};
/// Both answer nothing when it cannot be had.
std::optional<Identity> identityOf(const String& path);
std::optional<Identity> identityOf(std::FILE* stream);
/// Deletes the name if it is this file's, and never another one's that gets it meanwhile.
bool deleteFile(const String& path, const Identity& file);

/// Replaces an existing target. A copy that fails leaves none.
[[nodiscard]] bool copyFile(const String& from, const String& to);
/// Within one file system. Replaces an existing target; on Windows only while nobody has opened
/// either file without sharing its deletion.
bool renameFile(const String& from, const String& to);
/// Cuts an existing file to nothing.
bool emptyFile(const String& path);
/// Writes behind the end of a file, which it makes if need be, in one piece: others who do the same
/// or read see all of it or nothing.
[[nodiscard]] bool append(const String& path, std::string_view bytes);
/// Makes the last level only.
bool makeFolder(const String& path);
/// The process's current folder, without a trailing separator.
String workingDirectory();
/// Another name of an existing folder that its 8-bit form stands for, such as Windows' short one;
/// the path itself when it is such a name already, or when there is none.
String portableName(const String& folder);
/// Makes a folder the process's current one. Before other threads are started.
bool enterFolder(const String& path);

/// The entries of a folder whose names begin with a prefix, in the platform's order.
class Listing {
  public:
    Listing(const String& folder, const String& prefix);
    ~Listing();
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    struct Entry {
        String name;
        bool isFile = false;  // or a link to one; not a folder, pipe, device or dead link
    };
    /// The next entry; nothing at the end, or when there is no such folder.
    std::optional<Entry> next();

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane::FileSystem
