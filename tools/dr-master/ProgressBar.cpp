#include "ProgressBar.h"

#include <array>
#include <cstdio>

#include "OrvaneCore/Str.h"
#include "Terminal.h"

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds drawingInterval{100};
constexpr int barWidth = 30;

}  // namespace

std::string sizeText(std::int64_t bytes) {
    return toAnsi(Str::getFormatted(static_cast<std::uint64_t>(bytes))) + " bytes";
}

// The first drawing waits as well: a transfer that takes no time needs no bar.
ProgressBar::ProgressBar(std::string transferLabel)
    : label(std::move(transferLabel)),
      onTerminal(Terminal::isPresent()),
      nextDrawing(start + drawingInterval) {}

void ProgressBar::show(std::int64_t bytesMoved, std::int64_t bytesInAll) {
    moved = bytesMoved;
    size = bytesInAll;
    const auto now = std::chrono::steady_clock::now();
    if (onTerminal && now >= nextDrawing) {
        nextDrawing = now + drawingInterval;
        draw();
    }
}

double ProgressBar::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string ProgressBar::rate() const {
    constexpr double bytesPerMegabyte = 1e6;
    // A small file arrives within the clock's resolution.
    constexpr double shortest = 1e-6;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.1f MB/s",
                  static_cast<double>(moved) / bytesPerMegabyte / std::max(seconds(), shortest));
    return text.data();
}

void ProgressBar::draw() {
    const auto filled = static_cast<int>(size > 0 ? moved * barWidth / size : 0);
    const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(barWidth - filled), '.');
    std::printf("%s%s [%s] %s, %s", Terminal::clearLine, label.c_str(), bar.c_str(),
                sizeText(moved).c_str(), rate().c_str());
    std::fflush(stdout);
    drawn = true;
}

void ProgressBar::clear() {
    if (drawn)
        std::fputs(Terminal::clearLine, stdout);
    drawn = false;
}

}  // namespace Orvane
