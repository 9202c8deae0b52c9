#pragma once

#include <chrono>
#include <ctime>
#include <string>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The current local time: YYYY-MM-DD/HH:MM:SS, or YYYY-MM-DD HH-MM-SS for use in file names.
/// Callable from any thread.
String getTimestamp(bool forFileName);

/// As machines read it, in UTC: 2026-11-21T20:50:07.123Z.
std::string utcTimestamp(std::chrono::system_clock::time_point time);

/// YYYY-MM-DD of a broken-down time.
String getDate(const std::tm& time);

}  // namespace Orvane
