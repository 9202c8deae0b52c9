#pragma once

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>

namespace Orvane {

/// How long images take, and so how long a node may be silent before something is wrong with it.
/// For any thread.
class Pace {
  public:
    using milliseconds = std::chrono::milliseconds;

    /// `longestSilence` from the command line, if there was one, is always right. A node that is
    /// alone may otherwise be silent as long as it likes: nobody else would do its work.
    Pace(std::optional<milliseconds> longestSilence, bool isForOneNode)
        : fixed(longestSilence), alone(isForOneNode) {}

    /// An image came so long after the one before it, or after its scene.
    void note(milliseconds time) {
        const std::lock_guard lock(mutex);
        longest = std::max(longest.value_or(time), time);
    }

    /// Nothing while nobody knows how long an image takes.
    std::optional<milliseconds> longestSilence() const {
        constexpr int patience = 10;
        constexpr milliseconds shortest = std::chrono::minutes(5);
        if (fixed || alone)
            return fixed;
        const std::lock_guard lock(mutex);
        return longest ? std::optional(std::max(patience * *longest, shortest)) : std::nullopt;
    }

  private:
    const std::optional<milliseconds> fixed;
    const bool alone;
    mutable std::mutex mutex;  // guards the other
    std::optional<milliseconds> longest;
};

}  // namespace Orvane
