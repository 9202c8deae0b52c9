#include "OrvaneCore/LongPath-win32.h"

#include <windows.h>

#include <string_view>

namespace Orvane {

namespace {

constexpr std::size_t longestPlainPath = 247;
constexpr std::wstring_view prefix = LR"(\\?\)";
constexpr std::wstring_view sharePrefix = LR"(\\?\UNC\)";
constexpr std::wstring_view share = LR"(\\)";

/// With backslashes, without doubled ones, dots and a separator at the end: nothing of that is
/// mended behind the prefix.
std::wstring absolute(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.ends_with(L'\\'))
        full.pop_back();
    return full;
}

}  // namespace

std::wstring longPath(const String& path) {
    const std::u16string_view units = path.view();
    const std::wstring plain(units.begin(), units.end());
    if (plain.size() <= longestPlainPath)
        return plain;
    const std::wstring full = absolute(plain);
    if (full.starts_with(prefix) || full.starts_with(LR"(\\.\)"))
        return full;
    return full.starts_with(share) ? std::wstring(sharePrefix) + full.substr(share.size())
                                   : std::wstring(prefix) + full;
}

String plainPath(const std::wstring& path) {
    const std::wstring plain = path.starts_with(sharePrefix)
                                   ? std::wstring(share) + path.substr(sharePrefix.size())
                                   : path.substr(path.starts_with(prefix) ? prefix.size() : 0);
    return String(std::u16string(plain.begin(), plain.end()));
}

}  // namespace Orvane
