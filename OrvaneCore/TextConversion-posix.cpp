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

namespace {

/// Bytes that follow the first byte of a character; -1 for one that cannot be first.
int followers(unsigned char first) {
    if (first < 0x80)
        return 0;
    if (first < 0xC2 || first > 0xF4)
        return -1;
    return first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
}

/// Forms that are too long and halves of surrogate pairs are left out: the second byte tells.
bool mayFollow(unsigned char first, unsigned char second) {
    if (first == 0xE0 || first == 0xF0)
        return second >= (first == 0xE0 ? 0xA0 : 0x90);
    if (first == 0xED || first == 0xF4)
        return second < (first == 0xED ? 0xA0 : 0x90);
    return true;
}

bool isUtf8(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const int more = followers(first);
        if (more < 0 || i + static_cast<std::size_t>(more) >= bytes.size())
            return false;
        if (more > 0 && !mayFollow(first, static_cast<unsigned char>(bytes[i + 1])))
            return false;
        for (int j = 0; j < more; ++j)
            if ((static_cast<unsigned char>(bytes[++i]) & 0xC0U) != 0x80)
                return false;
    }
    return true;
}

void appendUtf8(std::string& text, char32_t point) {
    if (point < 0x80) {
        text += static_cast<char>(point);
        return;
    }
    if (point < 0x800) {
        text += static_cast<char>(0xC0U | point >> 6U);
    } else {
        text += static_cast<char>(0xE0U | point >> 12U);
        text += static_cast<char>(0x80U | (point >> 6U & 0x3FU));
    }
    text += static_cast<char>(0x80U | (point & 0x3FU));
}

}  // namespace

std::string toUtf8(std::u16string_view wide) {
    std::string bytes(wide.size(), '\0');
    wideToAnsi(wide, bytes.data());
    if (isUtf8(bytes))
        return bytes;
    // What the core makes of bytes has no surrogate pairs.
    std::string text;
    for (const char16_t unit : wide)
        appendUtf8(text, unit >= 0xD800 && unit < 0xE000 ? u'\uFFFD' : unit);
    return text;
}

}  // namespace Orvane::TextConversion
