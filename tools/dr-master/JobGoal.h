#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "JobSession.h"

namespace Orvane {

/// What a master wants of a job. Times count from the call of collectImages.
struct JobGoal {
    std::optional<int> images;                        ///< end the render after that many
    std::optional<std::chrono::milliseconds> time;    ///< end the render then
    std::optional<std::chrono::milliseconds> giveUp;  ///< fail then, whatever the server does
};

/// Calls `takeImage`, which must receive it, for each image until the server closes; tells it to
/// end when the goal is reached. Throws Failure when the server closes before that, or without any
/// image.
void collectImages(JobSession& session, const JobGoal& goal,
                   const std::function<void()>& takeImage);

}  // namespace Orvane
