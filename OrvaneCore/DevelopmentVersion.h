#pragma once

namespace Orvane {

/// Whether this machine is a developer's ("developmentVer" = 57 in the maker's registry key):
/// scenes and dumps are then kept after a job. Read once per process. Callable from any thread.
bool isDevelopmentVersion();

}  // namespace Orvane
