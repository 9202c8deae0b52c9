#pragma once

#include <ctime>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The current local time: YYYY-MM-DD/HH:MM:SS, or YYYY-MM-DD HH-MM-SS for use in file names.
/// Callable from any thread.
String getTimestamp(bool forFileName);

/// YYYY-MM-DD of a broken-down time.
String getDate(const std::tm& time);

}  // namespace Orvane
