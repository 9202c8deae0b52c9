#pragma once

#include <string>

#include "ExitStatus.h"

namespace Orvane {

class CheckReport;

/// Looks at the folder in which a DR server works, or at the drData folder itself: whether the
/// server runs, what it does since when, how its last jobs ended, and what to do about the last one
/// that failed.
void checkFolder(const std::string& folder, CheckReport& report);

}  // namespace Orvane
