#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>

#include <fstream>

#include "ExitStatus.h"
#include "Image.h"

namespace Orvane {

namespace {

/// A damaged header must not make this program ask for all memory: 8192 x 8192 pixels of eight
/// channels pass.
constexpr std::int64_t mostSamples = std::int64_t{1} << 29;
constexpr int largestSide = 1 << 16;

/// The format wants a data window that each channel's sampling divides.
std::size_t columnsOf(const Image& image, const Image::Channel& channel) {
    return static_cast<std::size_t>(image.width() / channel.xSampling);
}

std::size_t sampleCount(const Image& image, const Image::Channel& channel) {
    return columnsOf(image, channel) * static_cast<std::size_t>(image.height() / channel.ySampling);
}

/// What the library needs to know to move one channel.
Imf::Slice sliceOf(const float* samples, const Image& image, const Image::Channel& channel) {
    return Imf::Slice::Make(Imf::FLOAT, samples, image.dataWindow, sizeof(float),
                            columnsOf(image, channel) * sizeof(float), channel.xSampling,
                            channel.ySampling);
}

Image layoutOf(const Imf::Header& header) {
    Image image;
    image.displayWindow = header.displayWindow();
    image.dataWindow = header.dataWindow();
    image.pixelAspectRatio = header.pixelAspectRatio();
    std::int64_t samples = 0;
    for (auto it = header.channels().begin(); it != header.channels().end(); ++it) {
        Image::Channel channel{it.channel().xSampling, it.channel().ySampling, {}};
        samples += static_cast<std::int64_t>(sampleCount(image, channel));
        image.channels.emplace(it.name(), std::move(channel));
    }
    if (samples > mostSamples)
        throw std::runtime_error("its header asks for too many pixels");
    return image;
}

Image readPixels(std::ifstream& stream, const std::string& name) {
    Imf::StdIFStream source(stream, name.c_str());
    Imf::InputFile file(source);
    Image image = layoutOf(file.header());
    Imf::FrameBuffer buffer;
    for (auto& [channelName, channel] : image.channels) {
        channel.samples.resize(sampleCount(image, channel));
        buffer.insert(channelName, sliceOf(channel.samples.data(), image, channel));
    }
    file.setFrameBuffer(buffer);
    file.readPixels(image.dataWindow.min.y, image.dataWindow.max.y);
    return image;
}

Imf::Header headerOf(const Image& image) {
    Imf::Header header(image.displayWindow, image.dataWindow, image.pixelAspectRatio);
    for (const auto& [name, channel] : image.channels)
        header.channels().insert(name,
                                 Imf::Channel(Imf::FLOAT, channel.xSampling, channel.ySampling));
    return header;
}

void writePixels(const Image& image, std::ofstream& stream, const std::string& name) {
    Imf::StdOFStream target(stream, name.c_str());
    Imf::OutputFile file(target, headerOf(image));
    Imf::FrameBuffer buffer;
    for (const auto& [channelName, channel] : image.channels)
        buffer.insert(channelName, sliceOf(channel.samples.data(), image, channel));
    file.setFrameBuffer(buffer);
    file.writePixels(image.height());
}

}  // namespace

Image readImage(const std::filesystem::path& path) {
    Imf::Header::setMaxImageSize(largestSide, largestSide);
    try {
        std::ifstream stream(path, std::ios::binary);
        return readPixels(stream, path.filename().string());
    } catch (const std::exception& error) {
        throw Failure(ExitStatus::DamagedImage, error.what());
    }
}

void writeImage(const Image& image, const std::filesystem::path& path) {
    const std::string name = path.filename().string();
    std::string reason = "the disk may be full";
    std::ofstream stream(path, std::ios::binary);
    try {
        writePixels(image, stream, name);
        // The library's destructor keeps quiet about a table that it could not write.
        stream.close();
        if (stream)
            return;
    } catch (const std::exception& error) {
        reason = error.what();
    }
    throw Failure(ExitStatus::UnwritableFolder, "'" + name + "' cannot be written: " + reason);
}

}  // namespace Orvane
