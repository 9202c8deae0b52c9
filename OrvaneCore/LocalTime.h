#pragma once

#include <ctime>

namespace Orvane {

/// Calendar time broken down in local time. Callable from any thread.
std::tm localTime(std::time_t time);

}  // namespace Orvane
