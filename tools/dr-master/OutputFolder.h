#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "ExitStatus.h"
#include "FolderLock.h"
#include "Image.h"

namespace Orvane {

extern const char* const lockName;
Failure folderInUse(const std::filesystem::path& folder);
Failure unwritableFolder(const std::filesystem::path& folder);

/// Where one render writes: nobody else's while this exists, and no file in it under its own name
/// before it is whole. For any thread. What goes wrong is thrown as Failure (UnwritableFolder).
class OutputFolder {
  public:
    /// Makes the folder where needed, and finds out whether it can be written before anybody has
    /// rendered for nothing. Received images beyond `mostKeptBytes` in all are not kept.
    OutputFolder(std::filesystem::path imageFolder, std::uint64_t mostKeptBytes);

    /// Removes images and results that an earlier render left; answers how many files.
    int clean();

    /// Where an image or a result of this name lies while it comes. `use` tells apart what is
    /// written at the same time.
    std::filesystem::path unfinished(const std::string& use) const;
    /// Gives an image that came its name, "LABEL-0001.exr" and so on; answers that, or nothing when
    /// so many are kept already that this one was not.
    std::string keep(const std::filesystem::path& incoming, const std::string& label);

    bool has(const std::string& name) const;
    /// Replaces an earlier one of that name. `picture` writes STEM.png beside STEM.exr.
    void write(const Image& image, const std::string& stem, bool picture);

  private:
    void replace(const std::filesystem::path& from, const std::string& name) const;

    const std::filesystem::path folder;
    const std::uint64_t mostBytes;
    FolderLock lock;
    std::mutex mutex;                    // guards all below
    std::map<std::string, int> numbers;  // of the last image, by label
    std::uint64_t keptBytes = 0;
};

/// A part of a file name from text that may hold anything.
std::string fileLabel(const std::string& text);

}  // namespace Orvane
