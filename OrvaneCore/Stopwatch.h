#pragma once

#include <chrono>
#include <cstdint>

#include "OrvaneCore/Str.h"

namespace Orvane {

/// Elapsed time since construction. Not the runtime's clock(): that counts processor time on Linux,
/// and on Windows it ends after 25 days.
class Stopwatch {
  public:
    std::chrono::milliseconds elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
    }
    double exactSeconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    /// Whole seconds, rounded down.
    std::int32_t seconds() const {
        return static_cast<std::int32_t>(
            std::chrono::duration_cast<std::chrono::seconds>(elapsed()).count());
    }
    String secondsText() const { return Str::toWString(seconds()); }

  private:
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

}  // namespace Orvane
