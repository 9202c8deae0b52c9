#pragma once

#include <filesystem>

namespace Orvane {

/// A file, or a folder with all in it, that goes with this object, if somebody has made it. For any
/// thread.
class TemporaryPath {
  public:
    explicit TemporaryPath(std::filesystem::path toBeRemoved);
    ~TemporaryPath();
    TemporaryPath(const TemporaryPath&) = delete;
    TemporaryPath& operator=(const TemporaryPath&) = delete;

    const std::filesystem::path& path() const { return removed; }

    /// Removes what all living objects stand for, for a process that ends without destroying them.
    static void removeAll();

  private:
    std::filesystem::path removed;
};

}  // namespace Orvane
