#pragma once

#include <string>
#include <vector>

namespace Orvane {

/// The frames that "1-100,120,200-300x5" stands for, each once, in this order: numbers, ranges, and
/// ranges of which every so manieth is taken. Throws Failure (WrongUsage).
std::vector<int> framesOf(const std::string& text);

}  // namespace Orvane
