#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Orvane {

/// One file on its way: a bar that is redrawn in place on a terminal and nothing elsewhere.
class ProgressBar {
  public:
    explicit ProgressBar(std::string transferLabel);

    /// Redraws the bar, if it is time to.
    void show(std::int64_t bytesMoved, std::int64_t bytesInAll);

    /// Takes the bar away.
    void clear();

  private:
    double seconds() const;
    std::string rate() const;
    void draw();

    std::string label;
    bool onTerminal;
    bool drawn = false;
    std::int64_t moved = 0;
    std::int64_t size = 0;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point nextDrawing;
};

/// "12,345 bytes".
std::string sizeText(std::int64_t bytes);

}  // namespace Orvane
