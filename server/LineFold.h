#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// Log lines of one kind that strangers on the network can cause: some are written as they are, a
/// flood becomes one line with a count, so that it cannot fill the disk. One thread at a time.
class LineFold {
  public:
    static constexpr std::int32_t mostLines = 20;
    static constexpr std::chrono::seconds window{10};
    /// Room for text in a window behind the first mostLines, so that long lines are not worse than
    /// many short ones.
    static constexpr std::int32_t mostCharacters = 32 * 1024;

    /// `kind` is how the summary names the lines, `most` how many a window has room for.
    LineFold(DrLog& target, String kind, std::int32_t most = mostLines)
        : log(target), kindName(std::move(kind)), room(most) {}
    ~LineFold() { summarise(); }
    LineFold(const LineFold&) = delete;
    LineFold& operator=(const LineFold&) = delete;

    void write(const String& line);
    /// Counts a line, or several that belong together; true when they are to be written.
    bool admit(std::int32_t characters = 0);
    /// Writes the summary once the window is over; to be called every few seconds, or at due().
    void tick();
    /// Writes it now, for the end of a loop whose last lines are still to be flushed.
    void summarise();
    /// When there will be a summary to write; the end of time while there is none.
    std::chrono::steady_clock::time_point due() const;

  private:
    using Clock = std::chrono::steady_clock;

    DrLog& log;
    String kindName;
    std::int32_t room;
    Clock::time_point windowStart;
    std::int32_t seen = 0;  // in this window
    std::int32_t written = 0;
    std::int64_t characters = 0;  // written
};

}  // namespace Orvane
