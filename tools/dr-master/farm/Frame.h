#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "farm/RunningMean.h"

namespace Orvane {

/// When a picture is good enough: whichever comes first.
struct FrameGoal {
    std::optional<int> images;
    std::optional<std::chrono::milliseconds> time;
    std::optional<double> noise;
};

/// One picture on its way: the mean of the images of one node or many. For any thread.
class Frame {
  public:
    using Clock = std::chrono::steady_clock;

    /// `frameText` is what nodes are told to render.
    Frame(std::string frameText, const FrameGoal& frameGoal);

    const std::string& text() const { return name; }
    /// The goal's time runs from the first call.
    void start();
    /// Whether a node's image may be added: throws Failure (DamagedImage) when its layout is not
    /// that of the images before, unless more nodes have sent its layout than theirs. Answers what
    /// take() is to do with the image, if it turns out to be whole.
    RunningMean::Mismatch agree(const std::string& node, const ImageLayout& layout);
    struct Taken {
        int images = 0;     ///< that there are now
        int forgotten = 0;  ///< of the layout before
    };
    /// Throws Failure (DamagedImage) for an image that may not be added.
    Taken take(const ReceivedImage& image, RunningMean::Mismatch mismatch);
    /// As of a recent image.
    std::optional<double> noise() const;
    bool isReached() const;
    double seconds() const;

    const RunningMean& result() const { return mean; }

  private:
    void estimateNoise();
    std::ptrdiff_t votesFor(const ImageLayout& layout) const;

    const std::string name;
    const FrameGoal goal;
    RunningMean mean;
    std::atomic<bool> hasReached = false;
    mutable std::mutex mutex;  // guards all below
    std::optional<Clock::time_point> started;
    Clock::time_point nextEstimate;
    std::optional<double> lastNoise;
    std::map<std::string, ImageLayout> votes;  // what each node sent last
};

}  // namespace Orvane
