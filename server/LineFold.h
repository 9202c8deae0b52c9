#pragma once

#include <chrono>
#include <cstdint>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// Log lines of one kind that strangers on the network can cause: a few are written as they are, a
/// flood becomes one line with a count, so that it cannot fill the disk. One thread at a time.
class LineFold {
  public:
    static constexpr std::int32_t mostLines = 20;
    static constexpr std::chrono::seconds window{10};

    /// `kind` is how the summary names the lines.
    LineFold(DrLog& target, const char* kind) : log(target), kindName(kind) {}

    void write(const String& line);
    /// Writes the summary once the window is over; to be called every few seconds.
    void tick();

  private:
    using Clock = std::chrono::steady_clock;

    DrLog& log;
    const char* kindName;
    Clock::time_point windowStart;
    std::int32_t lines = 0;  // seen in this window
};

}  // namespace Orvane
