#pragma once

#include <cstdint>

namespace Orvane {

/// Four bytes from the system's cryptographic random source; 0 when there is none. Any thread.
std::uint32_t randomNumber();

}  // namespace Orvane
