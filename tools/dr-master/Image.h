#pragma once

#include <ImathBox.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Orvane {

/// The pixels of an OpenEXR file: the full-resolution level of its first part, every channel as
/// 32-bit float. Values are linear light.
struct Image {
    struct Channel {
        int xSampling = 1;
        int ySampling = 1;
        std::vector<float> samples;  ///< of the data window, line by line
    };

    Imath::Box2i displayWindow;
    Imath::Box2i dataWindow;
    float pixelAspectRatio = 1;
    std::map<std::string, Channel> channels;

    int width() const { return dataWindow.max.x - dataWindow.min.x + 1; }
    int height() const { return dataWindow.max.y - dataWindow.min.y + 1; }
    /// Same windows, same channels of the same sampling.
    bool hasLayoutOf(const Image& other) const;
};

/// Reads every pixel. Throws Failure (DamagedImage) unless the file is whole.
Image readImage(const std::filesystem::path& path);
/// Throws Failure (UnwritableFolder).
void writeImage(const Image& image, const std::filesystem::path& path);

/// The mean of images of one layout.
class ImageAverage {
  public:
    /// Throws Failure (DamagedImage) for an image that does not match those before.
    void add(Image image);
    int count() const { return added; }
    /// At least one image must have been added.
    Image result() const;

  private:
    Image sum;
    int added = 0;
};

}  // namespace Orvane
