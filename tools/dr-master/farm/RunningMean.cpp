#include "RunningMean.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ExitStatus.h"
#include "Picture.h"
#include "farm/HalfFloat.h"

namespace Orvane {

namespace {

/// Of fewer images a variance says next to nothing.
constexpr int fewestForNoise = 4;

void addTo(float* sums, const std::uint16_t* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        sums[i] += floatOfHalf(samples[i]);
}

void addTo(float* sums, const float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        sums[i] += samples[i];
}

/// The plane's samples `first` to `first + count`, added.
void addPart(float* sums, const ReceivedImage::Plane& plane, std::size_t first, std::size_t count) {
    if (plane.halves.empty())
        addTo(sums, plane.floats.data() + first, count);
    else
        addTo(sums, plane.halves.data() + first, count);
}

/// Welford's update, which keeps its precision where the levels are much alike.
void updateLevels(float* means, float* squares, const float* levels, std::size_t pixels,
                  float divisor) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const float before = levels[i] - means[i];
        means[i] += before / divisor;
        squares[i] += before * (levels[i] - means[i]);
    }
}

double medianOf(std::vector<float>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

}  // namespace

void RunningMean::begin(const ImageLayout& layout) {
    common = layout;
    sums.clear();
    meanLevels.clear();
    squares.clear();
    for (const auto& channel : common.channels)
        sums.emplace_back(common.samples(channel));
    shown = channelsToShow(common);
    if (!keepsNoise || shown.empty())
        return;
    meanLevels.resize(common.samples(common.channels[shown.front()]));
    squares.resize(meanLevels.size());
}

int RunningMean::makeRoomFor(const ImageLayout& layout, Mismatch mismatch) {
    const bool isFirst = added == 0;
    if (!isFirst && layout.matches(common))
        return 0;
    if (!isFirst && mismatch == Mismatch::IsDamage)
        throw Failure(ExitStatus::DamagedImage,
                      "its size or channels are not those of the images before");
    const int forgotten = std::exchange(added, 0);
    begin(layout);
    return forgotten;
}

int RunningMean::add(const ReceivedImage& image, Mismatch mismatch) {
    const std::lock_guard lock(mutex);
    const int forgotten = makeRoomFor(image.layout, mismatch);
    ++added;
    addPlanes(image);
    if (!squares.empty())
        addLevels(image);
    return forgotten;
}

void RunningMean::addPlanes(const ReceivedImage& image) {
    for (std::size_t i = 0; i < sums.size(); ++i)
        addPart(sums[i].data(), image.planes[i], 0, sums[i].size());
}

void RunningMean::addLevels(const ReceivedImage& image) {
    // In pieces that stay in the cache.
    constexpr std::size_t piece = 4096;
    std::vector<float> levels(piece);
    const auto channels = static_cast<float>(shown.size());
    for (std::size_t first = 0; first < squares.size(); first += piece) {
        const std::size_t pixels = std::min(piece, squares.size() - first);
        std::fill(levels.begin(), levels.end(), 0.0F);
        for (const std::size_t channel : shown)
            addPart(levels.data(), image.planes[channel], first, pixels);
        for (float& level : levels)
            level /= channels;
        updateLevels(&meanLevels[first], &squares[first], levels.data(), pixels,
                     static_cast<float>(added));
    }
}

int RunningMean::count() const {
    const std::lock_guard lock(mutex);
    return added;
}

std::optional<ImageLayout> RunningMean::layout() const {
    const std::lock_guard lock(mutex);
    return added > 0 ? std::optional(common) : std::nullopt;
}

Image RunningMean::mean() const {
    const std::lock_guard lock(mutex);
    Image image{common, sums};
    const auto divisor = static_cast<float>(added);
    for (auto& plane : image.planes)
        for (float& sample : plane)
            sample /= divisor;
    return image;
}

std::optional<double> RunningMean::noise() const {
    const std::lock_guard lock(mutex);
    if (added < fewestForNoise || squares.empty())
        return std::nullopt;
    double level = 0;
    for (const float mean : meanLevels)
        level += std::isfinite(mean) ? static_cast<double>(mean) : 0;
    level /= static_cast<double>(meanLevels.size());
    // A background that is the same in every image would say that nothing is left to do.
    std::vector<float> varying;
    std::copy_if(squares.begin(), squares.end(), std::back_inserter(varying),
                 [](float square) { return square > 0 && std::isfinite(square); });
    if (varying.empty())
        return 0;
    const double variance = medianOf(varying) / (added - 1);
    return level > 0 ? std::optional(std::sqrt(variance / added) / level) : std::nullopt;
}

}  // namespace Orvane
