#pragma once

#include <cstdint>

namespace Orvane {

/// Stack of each of the server's threads, in bytes. Enough for a 64 KiB file chunk and for parsing
/// the deepest message that is let through.
constexpr std::uint32_t workerStackBytes = 0x100000;

}  // namespace Orvane
