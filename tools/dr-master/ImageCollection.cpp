#include "ImageCollection.h"

#include <array>
#include <cstdio>

#include "Image.h"
#include "NativePath.h"
#include "OrvaneCore/Exception.h"
#include "Picture.h"
#include "ProgressBar.h"

namespace Orvane {

namespace {

constexpr const char* unfinished = "incoming.part";

std::string imageName(int number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "image-%04d.exr", number);
    return name.data();
}

/// Removes the file again unless it has been renamed.
class TemporaryFile {
  public:
    explicit TemporaryFile(std::filesystem::path filePath) : path(std::move(filePath)) {}
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path path;
};

Failure unwritable(const std::filesystem::path& folder) {
    return {ExitStatus::UnwritableFolder,
            "The folder '" + toAnsi(pathText(folder)) + "' cannot be written",
            "Name another one with --output."};
}

}  // namespace

ImageCollection::ImageCollection(std::filesystem::path imageFolder)
    : folder(std::move(imageFolder)) {
    try {
        std::filesystem::create_directories(folder);
        const TemporaryFile probe(file(unfinished));
        OutputFile(pathText(probe.path)).finish();
        std::filesystem::remove(file("result.exr"));
        std::filesystem::remove(file("result.png"));
    } catch (const std::exception&) {
        throw unwritable(folder);
    }
}

std::string ImageCollection::receive(JobSession& session) {
    std::string name = imageName(taken + 1);
    const TemporaryFile incoming(file(unfinished));
    ProgressBar progress(name);
    session.receiveImage(pathText(incoming.path), progress);
    progress.finish();
    try {
        std::filesystem::rename(incoming.path, file(name));
    } catch (const std::filesystem::filesystem_error&) {
        throw unwritable(folder);
    }
    ++taken;
    return name;
}

void ImageCollection::noteDamage(const std::filesystem::path& path, const Failure& failure) {
    std::fprintf(stderr, "dr-master: %s is damaged: %s\n", path.filename().string().c_str(),
                 failure.what());
    damaged = true;
}

void ImageCollection::take(JobSession& session) {
    const auto path = file(receive(session));
    try {
        readImage(path);
        whole.push_back(path);
    } catch (const Failure& failure) {
        noteDamage(path, failure);
    }
}

void ImageCollection::addTo(ImageAverage& average, const std::filesystem::path& path) {
    try {
        average.add(readImage(path));
    } catch (const Failure& failure) {
        noteDamage(path, failure);
    }
}

void ImageCollection::writeResults() {
    ImageAverage average;
    for (const auto& path : whole)
        addTo(average, path);
    const Image result = average.result();
    writeImage(result, file("result.exr"));
    writePicture(result, pathText(file("result.png")));
    std::printf("result.exr and result.png: the mean of %d images\n", average.count());
}

}  // namespace Orvane
