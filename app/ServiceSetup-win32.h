#pragma once

#include <cstdint>
#include <optional>

#include "OrvaneCore/String.h"

namespace Orvane {

extern const wchar_t* const serviceName;

/// What the service is given at the end of the system, before it would be ended.
constexpr std::uint32_t preshutdownMs = 180'000;

/// Makes this program a Windows service that starts with the computer, restarts on failure and
/// works in a folder of its own, and starts it. A service that is there already is changed; its
/// account stays if none is given. The account's password, if it has one, is read from standard
/// input. Answers an exit status and says on standard error what failed. Main thread, as
/// administrator.
int installService(const String& program, const std::optional<String>& account);

/// Stops the service, waits until it has ended, and removes it; its folder stays. The same holds.
int removeService(const String& program);

}  // namespace Orvane
