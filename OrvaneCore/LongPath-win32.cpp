#include "OrvaneCore/LongPath-win32.h"

#include <windows.h>

namespace Orvane {

namespace {

constexpr std::size_t longestPlainPath = 247;

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
    if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\"))
        return full;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

}  // namespace Orvane
