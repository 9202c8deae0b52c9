#pragma once

#include <cstdint>

#include "OrvaneCore/Str.h"

/// The host releases that the server knows, and how they are written on the wire.
namespace Orvane {

constexpr std::int32_t firstHostYear = 2011;
constexpr std::int32_t lastHostYear = 2016;

constexpr bool isHostYear(std::int32_t year) {
    return year >= firstHostYear && year <= lastHostYear;
}

/// "2014", as discovery asks for it.
inline String hostYearText(std::int32_t year) {
    return Str::toWString(year);
}

/// "max2014", as a job names the release that made its scene.
inline String sceneReleaseText(std::int32_t year) {
    return "max" + hostYearText(year);
}

/// The number behind the three letters, whatever they are; 0 when there is none.
std::int32_t sceneReleaseYear(const String& text);

}  // namespace Orvane
