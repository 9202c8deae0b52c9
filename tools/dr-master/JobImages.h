#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "JobSession.h"

namespace Orvane {

/// What a master wants of a job whose scene is sent. Times count from the call of collectImages.
struct JobRules {
    /// Whether the render may end; asked several times a second, and after each image.
    std::function<bool()> isEnough;
    /// The node has been told to end.
    std::function<void()> onEnd = [] {};
    /// How long the node may be silent before the job fails; asked anew each time.
    std::function<std::optional<std::chrono::milliseconds>()> longestSilence = [] {
        return std::nullopt;
    };
    /// How long a node may take, once it may end, for its last images and its host's end.
    std::chrono::milliseconds lastImages{60'000};
    /// Fail then, whatever the node does.
    std::optional<std::chrono::milliseconds> giveUp;
};

enum class JobEnd {
    Closed,  ///< the node closed, as it should
    Overdue  ///< it did not in time: images may be missing
};

/// Must receive the image, under the watch among others.
using TakeImage = std::function<void(const TransferWatch& watch)>;

/// Takes images until the node closes; tells it to end when there are enough. Throws Failure when
/// it closes or falls silent before that.
JobEnd collectImages(JobSession& session, const JobRules& rules, const TakeImage& takeImage);

}  // namespace Orvane
