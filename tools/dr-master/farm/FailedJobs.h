#pragma once

#include <algorithm>
#include <chrono>

namespace Orvane {

/// The last jobs of a node that began and failed without any image.
class FailedJobs {
  public:
    using milliseconds = std::chrono::milliseconds;

    void add(milliseconds time) {
        ++count;
        longest = std::max(longest, time);
    }
    /// Whether a job that has gone on for so long may still bring one.
    bool mayStillSucceed(milliseconds time) const {
        constexpr int most = 3;
        return count < most || time > longest;
    }

  private:
    int count = 0;
    milliseconds longest{0};
};

}  // namespace Orvane
