#pragma once

#include <filesystem>
#include <vector>

#include "ExitStatus.h"
#include "JobSession.h"

namespace Orvane {

/// The images of one job in a folder: image-0001.exr and so on.
class ImageCollection {
  public:
    /// Makes the folder where needed, and finds out whether it can be written before anybody has
    /// rendered for nothing. Takes away the results of an earlier job. Throws Failure.
    explicit ImageCollection(std::filesystem::path imageFolder);

    /// Receives the announced image and reads all of it. A damaged image is reported on standard
    /// error, kept, and does not count; everything else that goes wrong is thrown.
    void take(JobSession& session);

    bool hasImages() const { return !whole.empty(); }
    bool hasDamage() const { return damaged; }

    /// Writes result.exr, the mean of the whole images, and result.png. Throws Failure.
    void writeResults();

  private:
    std::filesystem::path file(const std::string& name) const { return folder / name; }
    std::string receive(JobSession& session);
    void noteDamage(const std::filesystem::path& path, const Failure& failure);
    void addTo(class ImageAverage& average, const std::filesystem::path& path);

    std::filesystem::path folder;
    int taken = 0;
    std::vector<std::filesystem::path> whole;
    bool damaged = false;
};

}  // namespace Orvane
