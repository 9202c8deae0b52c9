#pragma once

#include <utility>

/// What standard output leads to. Main thread only, but for size().
namespace Orvane::Terminal {

/// False for a file or a pipe: then nothing is ever drawn over.
bool isPresent();
/// Lets the terminal obey the sequences below, where that has to be asked for.
void prepare();
/// Columns and lines; 80 and 24 where that cannot be had.
std::pair<int, int> size();

constexpr std::pair<int, int> usualSize{80, 24};

constexpr const char* clearScreen = "\x1b[H\x1b[J";
constexpr const char* clearLine = "\r\x1b[K";
constexpr const char* clearBelow = "\r\x1b[J";
constexpr const char* lineUp = "\x1b[A";

}  // namespace Orvane::Terminal
