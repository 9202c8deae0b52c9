#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The one conversion between wide and 8-bit text, in the platform's ANSI code page. Linux has
/// none: there it is Windows-1252 with its five unassigned bytes standing for the C1 controls of
/// the same number, so that every byte, and with it every path on disk, goes through both ways.
namespace Orvane::TextConversion {

/// Both answer how many units the result has. With `out` null they only measure; otherwise `out`
/// must have room for that many. No terminator is written. Text that cannot be converted at all
/// measures zero. Callable from any thread.
std::int64_t ansiToWide(std::string_view ansi, char16_t* out);
std::int64_t wideToAnsi(std::u16string_view wide, char* out);

/// For readers that insist on UTF-8; never anything else. On Linux text whose bytes are UTF-8
/// already, as most paths are, stays as it is.
std::string toUtf8(std::u16string_view wide);

}  // namespace Orvane::TextConversion
