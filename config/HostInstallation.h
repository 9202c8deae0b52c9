#pragma once

#include <cstdint>

#include "OrvaneCore/HostReleases.h"

namespace Orvane {

/// Looks up where the host's installer recorded this release; the folder comes with forward slashes
/// and, as a rule, a trailing one. False leaves `folder` untouched. Start-up thread only.
bool findHostInstallation(std::int32_t year, String& folder);

}  // namespace Orvane
