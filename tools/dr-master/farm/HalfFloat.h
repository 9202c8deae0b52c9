#pragma once

#include <bit>
#include <cstdint>

namespace Orvane {

/// The value of a 16-bit float. Without branches or a table, so that a loop over a picture becomes
/// vector instructions.
inline float floatOfHalf(std::uint16_t half) {
    constexpr std::uint32_t halfMagnitude = 0x7FFF;
    constexpr std::uint32_t infinity = 0x7F800000;
    constexpr float rebias = 0x1p112F;
    constexpr float firstBeyondHalf = 0x1p16F;
    const float magnitude = std::bit_cast<float>((half & halfMagnitude) << 13U) * rebias;
    // What is infinite or not a number in 16 bits comes out beyond their range.
    const std::uint32_t special = magnitude >= firstBeyondHalf ? infinity : 0U;
    const std::uint32_t sign = (half & ~halfMagnitude) << 16U;
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(magnitude) | special | sign);
}

}  // namespace Orvane
