#pragma once

#include <filesystem>
#include <memory>

namespace Orvane {

/// Keeps a folder for one process, on this machine or another that shares it. Given back with the
/// object, or by the system when the process ends in any other way.
class FolderLock {
  public:
    /// Throws Failure (FolderInUse, or UnwritableFolder).
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
