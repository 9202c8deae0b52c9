#pragma once

#include <algorithm>
#include <chrono>

namespace Orvane {

/// The last jobs of a node, as far as it began them and failed without any image.
class VainJobs {
  public:
    using milliseconds = std::chrono::milliseconds;

    void add(milliseconds time) {
        ++count;
        longest = std::max(longest, time);
    }
    /// Whether something may still come of a job that has gone on for so long without an image.
    bool leaveHope(milliseconds time) const {
        constexpr int most = 3;
        return count < most || time > longest;
    }

  private:
    int count = 0;
    milliseconds longest{0};
};

}  // namespace Orvane
