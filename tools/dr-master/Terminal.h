#pragma once

/// What standard output leads to. Main thread only.
namespace Orvane::Terminal {

/// False for a file or a pipe: then nothing is ever drawn over.
bool isPresent();
/// Lets the terminal obey the two sequences below, where that has to be asked for.
void prepare();

constexpr const char* clearScreen = "\x1b[H\x1b[J";
constexpr const char* clearLine = "\r\x1b[K";

}  // namespace Orvane::Terminal
