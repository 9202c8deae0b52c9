#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "ExitStatus.h"
#include "FolderLock.h"
#include "Image.h"

namespace Orvane {

extern const char* const lockName;
Failure folderInUse(const std::filesystem::path& folder);
Failure unwritableFolder(const std::filesystem::path& folder);

/// Where one render writes: nobody else's while this exists, and no file in it under its own name
/// before it is whole. Which files renders have put there is noted in the lock's file before each
/// gets its name, and in the result: only those are ever removed. For any thread. What goes wrong
/// is thrown as Failure (UnwritableFolder).
class OutputFolder {
  public:
    /// Makes the folder where needed, and finds out whether it can be written before anybody has
    /// rendered for nothing. Received images beyond `mostKeptBytes` in all are not kept.
    OutputFolder(std::filesystem::path imageFolder, std::uint64_t mostKeptBytes);
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    /// Throws where files that no render is known to have made have names that a still gives.
    void refuseOthers() const;
    /// Removes images and results that earlier renders left; answers how many files.
    int clean();

    /// Where an image or a result of this name lies while it comes. `use` tells apart what is
    /// written at the same time.
    std::filesystem::path unfinished(const std::string& use) const;
    /// Gives an image that came its name, "LABEL-0001.exr" and so on; answers that, or nothing when
    /// so many are kept already that this one was not.
    std::string keep(const std::filesystem::path& incoming, const std::string& label);

    bool has(const std::string& name) const;
    /// Both replace an earlier one: result.exr and result.png, or the image of that name.
    void writeResult(const Image& image);
    void writeFrame(const Image& image, const std::string& name);

  private:
    void replace(const std::filesystem::path& from, const std::string& name) const;
    void write(const Image& image, const std::string& name, const std::string& files);
    /// With the mutex locked, before a file gets this name.
    void claim(const std::string& name);

    const std::filesystem::path folder;
    const std::uint64_t mostBytes;
    FolderLock lock;
    std::mutex mutex;                    // guards all below
    std::map<std::string, int> numbers;  // of the last image, by label
    std::uint64_t keptBytes = 0;
    std::set<std::string> made;  // files here, by this render or earlier ones
    bool isNoted = true;         // all of them, in the result
};

/// A part of a file name from text that may hold anything.
std::string fileLabel(const std::string& text);

}  // namespace Orvane
