#pragma once

#include <ImathBox.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Orvane {

/// What images must have in common before their pixels can be added.
struct ImageLayout {
    struct Channel {
        std::string name;
        int xSampling = 1;
        int ySampling = 1;
        bool operator==(const Channel&) const = default;
    };

    Imath::Box2i displayWindow;
    Imath::Box2i dataWindow;
    float pixelAspectRatio = 1;
    std::vector<Channel> channels;  ///< sorted by name

    int width() const { return dataWindow.max.x - dataWindow.min.x + 1; }
    int height() const { return dataWindow.max.y - dataWindow.min.y + 1; }
    /// The format wants a data window that each channel's sampling divides.
    std::size_t columns(const Channel& channel) const {
        return static_cast<std::size_t>(width() / channel.xSampling);
    }
    std::size_t samples(const Channel& channel) const {
        return columns(channel) * static_cast<std::size_t>(height() / channel.ySampling);
    }
    /// Same windows, same channels of the same sampling.
    bool matches(const ImageLayout& other) const {
        return dataWindow == other.dataWindow && displayWindow == other.displayWindow &&
               channels == other.channels;
    }
};

/// An image to write. Values are linear light.
struct Image {
    ImageLayout layout;
    std::vector<std::vector<float>> planes;  ///< one per channel, of the data window, line by line
};

/// An image as it was read: the full-resolution level of a file's first part. A plane is 16 bits
/// wide where the file's is, which halves the memory that its pixels pass through.
struct ReceivedImage {
    struct Plane {
        std::vector<std::uint16_t> halves;  ///< empty for a channel of another type
        std::vector<float> floats;          ///< empty for a channel of 16-bit floats
    };

    ImageLayout layout;
    std::vector<Plane> planes;
};

/// Of a file, without its pixels. Throws Failure (DamagedImage). For any thread.
ImageLayout readLayout(const std::filesystem::path& path);

/// Reads every pixel into `image`, whose memory is used again. Throws Failure (DamagedImage) unless
/// the file is whole, and, before any pixel, for a layout that is not the one expected. For any
/// thread.
void readImage(const std::filesystem::path& path, const std::optional<ImageLayout>& expected,
               ReceivedImage& image);

/// `files` is noted in the header, unless it is empty. Throws Failure (UnwritableFolder).
void writeImage(const Image& image, const std::filesystem::path& path,
                const std::string& files = {});
/// What writeImage() noted; empty for any other file.
std::string notedFiles(const std::filesystem::path& path);

}  // namespace Orvane
