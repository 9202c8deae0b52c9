#include "Frame.h"

#include <algorithm>

#include "ExitStatus.h"

namespace Orvane {

Frame::Frame(std::string frameText, const FrameGoal& frameGoal)
    : name(std::move(frameText)), goal(frameGoal), mean(frameGoal.noise.has_value()) {}

void Frame::start() {
    const std::lock_guard lock(mutex);
    if (!started)
        started = Clock::now();
}

std::ptrdiff_t Frame::votesFor(const ImageLayout& layout) const {
    return std::count_if(votes.begin(), votes.end(),
                         [&layout](const auto& vote) { return vote.second.matches(layout); });
}

RunningMean::Mismatch Frame::agree(const std::string& node, const ImageLayout& layout) {
    const std::lock_guard lock(mutex);
    votes[node] = layout;
    const auto common = mean.layout();
    if (!common || layout.matches(*common))
        return RunningMean::Mismatch::IsDamage;
    if (votesFor(layout) <= votesFor(*common))
        throw Failure(ExitStatus::DamagedImage,
                      "its size or channels are not those of the images before");
    return RunningMean::Mismatch::BeginsAnew;
}

Frame::Taken Frame::take(const ReceivedImage& image, RunningMean::Mismatch mismatch) {
    const int forgotten = mean.add(image, mismatch);
    const int images = mean.count();
    if (goal.images && images >= *goal.images)
        hasReached = true;
    if (goal.noise)
        estimateNoise();
    return {images, forgotten};
}

void Frame::estimateNoise() {
    // An estimate takes as long as an image: a small part of the time is enough for it.
    constexpr int share = 8;
    const std::lock_guard lock(mutex);
    const auto before = Clock::now();
    if (before < nextEstimate)
        return;
    lastNoise = mean.noise();
    const auto after = Clock::now();
    nextEstimate = after + share * (after - before);
    if (lastNoise && *lastNoise < *goal.noise)
        hasReached = true;
}

std::optional<double> Frame::noise() const {
    const std::lock_guard lock(mutex);
    return lastNoise;
}

double Frame::seconds() const {
    const std::lock_guard lock(mutex);
    return started ? std::chrono::duration<double>(Clock::now() - *started).count() : 0;
}

bool Frame::isReached() const {
    if (hasReached)
        return true;
    const std::lock_guard lock(mutex);
    return goal.time && started && Clock::now() - *started >= *goal.time;
}

}  // namespace Orvane
