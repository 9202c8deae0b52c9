#include "Picture.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "ExitStatus.h"
#include "OrvaneCore/FileSystem.h"

namespace Orvane {

namespace {

constexpr float largestLinear = 65535;

png_uint_16 linear16(float value) {
    // Written so that "not a number" becomes black.
    const float cut = value > 0 ? std::min(value, 1.0F) : 0.0F;
    return static_cast<png_uint_16>(std::lround(cut * largestLinear));
}

using Planes = std::vector<const std::vector<float>*>;

Planes planesToShow(const Image& image) {
    Planes planes;
    for (const std::size_t channel : channelsToShow(image.layout))
        planes.push_back(&image.planes[channel]);
    if (planes.empty())
        throw Failure(ExitStatus::DamagedImage, "The images have no channel that can be shown");
    return planes;
}

std::vector<png_uint_16> interleave(const Planes& planes, std::size_t pixels) {
    std::vector<png_uint_16> samples;
    samples.reserve(pixels * planes.size());
    for (std::size_t i = 0; i < pixels; ++i)
        for (const auto* plane : planes)
            samples.push_back(linear16((*plane)[i]));
    return samples;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

Failure unwritable(const String& path) {
    const std::string name = toAnsi(path);
    return {ExitStatus::UnwritableFolder, "'" + name + "' cannot be written"};
}

/// Of full resolution only; nothing when there is no such channel.
std::optional<std::size_t> fullChannel(const ImageLayout& layout, const std::string& name) {
    for (std::size_t i = 0; i < layout.channels.size(); ++i) {
        const auto& channel = layout.channels[i];
        if (channel.name == name && channel.xSampling == 1 && channel.ySampling == 1)
            return i;
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::size_t> channelsToShow(const ImageLayout& layout) {
    const auto red = fullChannel(layout, "R");
    const auto green = fullChannel(layout, "G");
    const auto blue = fullChannel(layout, "B");
    if (red && green && blue)
        return {*red, *green, *blue};
    if (const auto luminance = fullChannel(layout, "Y"))
        return {*luminance};
    for (const auto& channel : layout.channels)
        if (const auto first = fullChannel(layout, channel.name))
            return {*first};
    return {};
}

void writePicture(const Image& image, const String& path) {
    const Planes planes = planesToShow(image);
    png_image picture{};
    picture.version = PNG_IMAGE_VERSION;
    picture.width = static_cast<png_uint_32>(image.layout.width());
    picture.height = static_cast<png_uint_32>(image.layout.height());
    // From this format the library itself goes to 8 bits in sRGB.
    picture.format = planes.size() == 3 ? PNG_FORMAT_LINEAR_RGB : PNG_FORMAT_LINEAR_Y;
    const auto samples = interleave(planes, std::size_t{picture.width} * picture.height);
    std::unique_ptr<std::FILE, CloseFile> file(
        FileSystem::openFile(path, "wb", FileSystem::Sharing::DenyWriters));
    if (file == nullptr)
        throw unwritable(path);
    const int written =
        png_image_write_to_stdio(&picture, file.get(), 1, samples.data(), 0, nullptr);
    if (std::fclose(file.release()) != 0 || written == 0)
        throw unwritable(path);
}

}  // namespace Orvane
