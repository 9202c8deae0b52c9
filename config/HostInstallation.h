#pragma once

#include <cstdint>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The host releases that the server knows, by year.
constexpr std::int32_t firstHostYear = 2011;
constexpr std::int32_t lastHostYear = 2016;

/// Looks up where the host's installer recorded this release; the folder comes with forward slashes
/// and, as a rule, a trailing one. False leaves `folder` untouched. Start-up thread only.
bool findHostInstallation(std::int32_t year, String& folder);

}  // namespace Orvane
