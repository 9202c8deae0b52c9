#include "OrvaneCore/HostReleases.h"

namespace Orvane {

std::int32_t sceneReleaseYear(const String& text) {
    constexpr std::size_t letters = 3;
    const std::u16string_view units = text.view();
    return units.size() <= letters ? 0 : Str::leadingInteger(toAnsi(String(units.substr(letters))));
}

}  // namespace Orvane
