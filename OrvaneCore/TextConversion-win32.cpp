#include "OrvaneCore/TextConversion.h"

#include <windows.h>

namespace Orvane::TextConversion {

namespace {

/// Characters outside the code page become its default character, not one that looks alike: a path
/// would lead into the folder of somebody else. The two code pages that have all characters take no
/// such flag.
DWORD strictly() {
    constexpr UINT gb18030 = 54936;
    const UINT page = GetACP();
    return page == CP_UTF8 || page == gb18030 ? 0 : WC_NO_BEST_FIT_CHARS;
}

}  // namespace

std::int64_t ansiToWide(std::string_view ansi, char16_t* out) {
    if (ansi.empty())
        return 0;
    const int bytes = static_cast<int>(ansi.size());
    const int units = MultiByteToWideChar(CP_ACP, 0, ansi.data(), bytes, nullptr, 0);
    return out == nullptr ? units
                          : MultiByteToWideChar(CP_ACP, 0, ansi.data(), bytes,
                                                reinterpret_cast<wchar_t*>(out), units);
}

std::int64_t wideToAnsi(std::u16string_view wide, char* out) {
    if (wide.empty())
        return 0;
    const auto* text = reinterpret_cast<const wchar_t*>(wide.data());
    const int units = static_cast<int>(wide.size());
    const DWORD flags = strictly();
    const int bytes = WideCharToMultiByte(CP_ACP, flags, text, units, nullptr, 0, nullptr, nullptr);
    return out == nullptr
               ? bytes
               : WideCharToMultiByte(CP_ACP, flags, text, units, out, bytes, nullptr, nullptr);
}

std::string toUtf8(std::u16string_view wide) {
    const auto* text = reinterpret_cast<const wchar_t*>(wide.data());
    const int units = static_cast<int>(wide.size());
    // Half a surrogate pair becomes the replacement character.
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, units, result.data(), bytes, nullptr, nullptr);
    return result;
}

}  // namespace Orvane::TextConversion
