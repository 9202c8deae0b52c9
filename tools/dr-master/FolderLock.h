#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace Orvane {

/// Keeps a folder for one process, on this machine or another that shares it. Given back with the
/// object, or by the system when the process ends in any other way. Its file, which lies in the
/// folder until then, holds text for the next owner.
class FolderLock {
  public:
    /// Throws Failure (FolderInUse, or UnwritableFolder).
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    /// What the last owner left.
    std::string text() const;
    /// Both answer whether it succeeded.
    bool append(const std::string& more);
    bool clear();
    /// The file is not to go with the lock.
    void leaveFile() { staysThere = true; }

  private:
    struct Native;
    std::unique_ptr<Native> native;
    bool staysThere = false;
};

}  // namespace Orvane
