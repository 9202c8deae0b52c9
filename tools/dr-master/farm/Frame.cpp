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

int Frame::agree(const std::string& node, const ImageLayout& layout) {
    const std::lock_guard lock(mutex);
    votes[node] = layout;
    const auto common = mean.layout();
    if (!common || layout.matches(*common))
        return 0;
    if (votesFor(layout) <= votesFor(*common))
        throw Failure(ExitStatus::DamagedImage,
                      "its size or channels are not those of the images before");
    const int forgotten = mean.count();
    mean.restart();
    return forgotten;
}

int Frame::take(const ReceivedImage& image) {
    mean.add(image);
    const int images = mean.count();
    if (goal.images && images >= *goal.images)
        hasReached = true;
    if (goal.noise)
        estimateNoise();
    return images;
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
