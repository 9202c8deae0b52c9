#pragma once

#include <chrono>
#include <cstdint>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// Log lines of one kind that strangers on the network can cause: some are written as they are, a
/// flood becomes one line with a count, so that it cannot fill the disk. One thread at a time.
class LineFold {
  public:
    static constexpr std::int32_t fewLines = 20;
    static constexpr std::chrono::seconds window{10};

    /// `kind` is how the summary names the lines, `most` how many a window has room for.
    LineFold(DrLog& target, const char* kind, std::int32_t most = fewLines)
        : log(target), kindName(kind), mostLines(most) {}

    void write(const String& line);
    /// Counts a line, or several that belong together; true when they are to be written.
    bool admit();
    /// Writes the summary once the window is over; to be called every few seconds.
    void tick();

  private:
    using Clock = std::chrono::steady_clock;

    DrLog& log;
    const char* kindName;
    std::int32_t mostLines;
    Clock::time_point windowStart;
    std::int32_t lines = 0;  // seen in this window
};

}  // namespace Orvane
