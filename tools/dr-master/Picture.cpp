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

/// Of full resolution only; null when there is no such channel.
const std::vector<float>* fullPlane(const Image& image, const std::string& name) {
    const auto found = image.channels.find(name);
    const bool full = found != image.channels.end() && found->second.xSampling == 1 &&
                      found->second.ySampling == 1;
    return full ? &found->second.samples : nullptr;
}

Planes planesToShow(const Image& image) {
    Planes colour = {fullPlane(image, "R"), fullPlane(image, "G"), fullPlane(image, "B")};
    if (std::find(colour.begin(), colour.end(), nullptr) == colour.end())
        return colour;
    if (const auto* luminance = fullPlane(image, "Y"))
        return {luminance};
    for (const auto& [name, channel] : image.channels)
        if (const auto* plane = fullPlane(image, name))
            return {plane};
    throw Failure(ExitStatus::DamagedImage, "The images have no channel that can be shown");
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

}  // namespace

void writePicture(const Image& image, const String& path) {
    const Planes planes = planesToShow(image);
    png_image picture{};
    picture.version = PNG_IMAGE_VERSION;
    picture.width = static_cast<png_uint_32>(image.width());
    picture.height = static_cast<png_uint_32>(image.height());
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
