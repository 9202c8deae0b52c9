#pragma once

#include <algorithm>
#include <chrono>

#include "protocol/SocketWait.h"

namespace Orvane {

/// What the systems' polls take for a deadline: milliseconds, 0 once it has passed, a day at most.
inline int millisecondsUntil(SocketClock::time_point deadline) {
    using std::chrono::milliseconds;
    constexpr milliseconds longest = std::chrono::hours(24);
    const auto now = SocketClock::now();
    if (deadline <= now)
        return 0;
    // Rounded up, or the last millisecond would be spent spinning.
    return static_cast<int>(
        std::min(std::chrono::ceil<milliseconds>(deadline - now), longest).count());
}

}  // namespace Orvane
