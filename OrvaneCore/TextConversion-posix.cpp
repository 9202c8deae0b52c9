#include "OrvaneCore/TextConversion.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Orvane::TextConversion {

namespace {

// Bytes 0x80 to 0x9F of Windows-1252 (the Unicode Consortium's mapping table CP1252.TXT).
constexpr std::array<char16_t, 32> highControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t wideOf(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code >= 0x80 && code < 0xA0 ? highControls[code - 0x80U] : code;
}

char ansiOf(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
        return static_cast<char>(unit);
    const auto* found = std::find(highControls.begin(), highControls.end(), unit);
    if (found == highControls.end())
        return '?';
    return static_cast<char>(0x80 + std::distance(highControls.begin(), found));
}

}  // namespace

std::int64_t ansiToWide(std::string_view ansi, char16_t* out) {
    if (out != nullptr)
        std::transform(ansi.begin(), ansi.end(), out, wideOf);
    return static_cast<std::int64_t>(ansi.size());
}

std::int64_t wideToAnsi(std::u16string_view wide, char* out) {
    if (out != nullptr)
        std::transform(wide.begin(), wide.end(), out, ansiOf);
    return static_cast<std::int64_t>(wide.size());
}

}  // namespace Orvane::TextConversion
