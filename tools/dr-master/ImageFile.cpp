#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>
#include <ImfStringAttribute.h>

#include <fstream>

#include "ExitStatus.h"
#include "Image.h"

namespace Orvane {

namespace {

/// A damaged header must not make this program ask for all memory: 8192 x 8192 pixels of eight
/// channels pass.
constexpr std::int64_t mostSamples = std::int64_t{1} << 29;
constexpr int largestSide = 1 << 16;
/// Beauty and many light and utility passes; the bookkeeping for each of millions would take all
/// memory too.
constexpr std::size_t mostChannels = 1024;

constexpr const char* filesAttribute = "renderFiles";

/// What the library needs to know to move one channel.
template <typename Sample>
Imf::Slice sliceOf(Imf::PixelType type, const Sample* samples, const ImageLayout& layout,
                   const ImageLayout::Channel& channel) {
    return Imf::Slice::Make(type, samples, layout.dataWindow, sizeof(Sample),
                            layout.columns(channel) * sizeof(Sample), channel.xSampling,
                            channel.ySampling);
}

ImageLayout layoutOf(const Imf::Header& header) {
    ImageLayout layout;
    layout.displayWindow = header.displayWindow();
    layout.dataWindow = header.dataWindow();
    layout.pixelAspectRatio = header.pixelAspectRatio();
    std::int64_t samples = 0;
    for (auto it = header.channels().begin(); it != header.channels().end(); ++it) {
        layout.channels.push_back({it.name(), it.channel().xSampling, it.channel().ySampling});
        samples += static_cast<std::int64_t>(layout.samples(layout.channels.back()));
        if (samples > mostSamples || layout.channels.size() > mostChannels)
            throw std::runtime_error("its header asks for too many pixels");
    }
    if (samples == 0)
        throw std::runtime_error("it has no pixels");
    return layout;
}

void addPlane(ReceivedImage::Plane& plane, bool half, const ImageLayout& layout,
              const ImageLayout::Channel& channel, Imf::FrameBuffer& buffer) {
    plane.halves.resize(half ? layout.samples(channel) : 0);
    plane.floats.resize(half ? 0 : layout.samples(channel));
    buffer.insert(channel.name, half ? sliceOf(Imf::HALF, plane.halves.data(), layout, channel)
                                     : sliceOf(Imf::FLOAT, plane.floats.data(), layout, channel));
}

void readPixels(Imf::InputFile& file, const std::optional<ImageLayout>& expected,
                ReceivedImage& image) {
    image.layout = layoutOf(file.header());
    if (expected && !image.layout.matches(*expected))
        throw std::runtime_error("its size or channels are not those of the images before");
    const ImageLayout& layout = image.layout;
    image.planes.resize(layout.channels.size());
    Imf::FrameBuffer buffer;
    for (std::size_t i = 0; i < image.planes.size(); ++i) {
        const auto& channel = layout.channels[i];
        const bool half = file.header().channels()[channel.name.c_str()].type == Imf::HALF;
        addPlane(image.planes[i], half, layout, channel, buffer);
    }
    file.setFrameBuffer(buffer);
    file.readPixels(layout.dataWindow.min.y, layout.dataWindow.max.y);
}

/// Everything that is wrong with the file becomes a Failure.
template <typename Read>
auto withFile(const std::filesystem::path& path, const Read& read) {
    static const bool isLimited = (Imf::Header::setMaxImageSize(largestSide, largestSide), true);
    static_cast<void>(isLimited);
    try {
        std::ifstream stream(path, std::ios::binary);
        // What the file is called as yet would mean nothing in a message.
        Imf::StdIFStream source(stream, "received");
        Imf::InputFile file(source);
        return read(file);
    } catch (const std::exception& error) {
        throw Failure(ExitStatus::DamagedImage, error.what());
    }
}

Imf::Header headerOf(const ImageLayout& layout, const std::string& files) {
    Imf::Header header(layout.displayWindow, layout.dataWindow, layout.pixelAspectRatio);
    for (const auto& channel : layout.channels)
        header.channels().insert(channel.name,
                                 Imf::Channel(Imf::FLOAT, channel.xSampling, channel.ySampling));
    if (!files.empty())
        header.insert(filesAttribute, Imf::StringAttribute(files));
    return header;
}

void writePixels(const Image& image, const std::string& files, std::ofstream& stream,
                 const std::string& name) {
    Imf::StdOFStream target(stream, name.c_str());
    Imf::OutputFile file(target, headerOf(image.layout, files));
    Imf::FrameBuffer buffer;
    for (std::size_t i = 0; i < image.planes.size(); ++i) {
        const auto& channel = image.layout.channels[i];
        buffer.insert(channel.name,
                      sliceOf(Imf::FLOAT, image.planes[i].data(), image.layout, channel));
    }
    file.setFrameBuffer(buffer);
    file.writePixels(image.layout.height());
}

}  // namespace

ImageLayout readLayout(const std::filesystem::path& path) {
    return withFile(path, [](Imf::InputFile& file) { return layoutOf(file.header()); });
}

void readImage(const std::filesystem::path& path, const std::optional<ImageLayout>& expected,
               ReceivedImage& image) {
    withFile(path, [&](Imf::InputFile& file) { readPixels(file, expected, image); });
}

void writeImage(const Image& image, const std::filesystem::path& path, const std::string& files) {
    const std::string name = path.filename().string();
    std::string reason = "the disk may be full";
    std::ofstream stream(path, std::ios::binary);
    try {
        writePixels(image, files, stream, name);
        // The library's destructor keeps quiet about a table that it could not write.
        stream.close();
        if (stream)
            return;
    } catch (const std::exception& error) {
        reason = error.what();
    }
    throw Failure(ExitStatus::UnwritableFolder, "'" + name + "' cannot be written: " + reason);
}

std::string notedFiles(const std::filesystem::path& path) {
    try {
        return withFile(path, [](Imf::InputFile& file) {
            const auto* noted =
                file.header().findTypedAttribute<Imf::StringAttribute>(filesAttribute);
            return noted != nullptr ? noted->value() : std::string();
        });
    } catch (const Failure&) {
        return {};
    }
}

}  // namespace Orvane
