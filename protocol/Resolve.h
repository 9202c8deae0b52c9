#pragma once

#include <optional>

#include "OrvaneCore/String.h"

namespace Orvane {

/// A name's dotted address, the first one of this protocol's kind (IPv4); nothing when the system
/// knows none. Digits are their own address. Waits as long as the system looks for the name.
[[nodiscard]] std::optional<String> resolve(const String& host);

}  // namespace Orvane
