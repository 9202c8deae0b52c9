#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Orvane {

/// One file on its way: a bar that is redrawn in place on a terminal and nothing elsewhere, and a
/// line that sums up at the end.
class ProgressBar {
  public:
    explicit ProgressBar(std::string transferLabel);

    /// The callback of sendFile and receiveFile, with the bar as argument.
    static void onProgress(void* bar, std::int64_t moved, std::int64_t size);

    /// Takes the bar away.
    void clear();
    /// Takes the bar away and prints label, size, time and rate.
    void finish();

    std::int64_t bytesMoved() const { return moved; }
    /// -1 before the first chunk.
    std::int64_t bytesAnnounced() const { return size; }

  private:
    double seconds() const;
    std::string rate() const;
    void draw();

    std::string label;
    bool onTerminal;
    bool drawn = false;
    std::int64_t moved = 0;
    std::int64_t size = -1;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point nextDrawing;
};

/// "12,345 bytes".
std::string sizeText(std::int64_t bytes);

}  // namespace Orvane
