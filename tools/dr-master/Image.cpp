#include "Image.h"

#include <algorithm>
#include <functional>

#include "ExitStatus.h"

namespace Orvane {

namespace {

bool sameSampling(const std::pair<const std::string, Image::Channel>& a,
                  const std::pair<const std::string, Image::Channel>& b) {
    return a.first == b.first && a.second.xSampling == b.second.xSampling &&
           a.second.ySampling == b.second.ySampling;
}

}  // namespace

bool Image::hasLayoutOf(const Image& other) const {
    return dataWindow == other.dataWindow && displayWindow == other.displayWindow &&
           std::equal(channels.begin(), channels.end(), other.channels.begin(),
                      other.channels.end(), sameSampling);
}

void ImageAverage::add(Image image) {
    if (added > 0 && !image.hasLayoutOf(sum))
        throw Failure(ExitStatus::DamagedImage,
                      "its size or channels are not those of the images before");
    if (added++ == 0) {
        sum = std::move(image);
        return;
    }
    for (auto& [name, channel] : sum.channels) {
        const auto& samples = image.channels.at(name).samples;
        std::transform(samples.begin(), samples.end(), channel.samples.begin(),
                       channel.samples.begin(), std::plus<>());
    }
}

Image ImageAverage::result() const {
    Image mean = sum;
    const auto divisor = static_cast<float>(added);
    for (auto& [name, channel] : mean.channels)
        for (float& sample : channel.samples)
            sample /= divisor;
    return mean;
}

}  // namespace Orvane
