#pragma once

#include <cstdint>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Files that grow for ever are moved aside: "log" becomes "log.1", that one "log.2", and so on to
/// "log.5"; the oldest goes.
constexpr int keptLogs = 5;

/// Moves a file aside that has `limit` bytes or more; a limit of zero means never. Nobody may have
/// it open for writing; where a reader keeps it from being renamed it is copied and emptied. False
/// if it is still there as it was, be it because it is not that large.
bool moveAside(const String& path, std::uint64_t limit);

}  // namespace Orvane
