#pragma once

#include <cstdint>

#include "OrvaneCore/String.h"

/// Small text operations. All may be called from any thread.
namespace Orvane::Str {

/// The standard base64 alphabet (RFC 4648), without the padding character.
extern const std::string base64Alphabet;

/// Digits grouped in threes by commas; from one hundred million on whole millions, rounded down,
/// with the suffix " M".
String getFormatted(std::uint64_t number);

/// Plain decimal text.
String toWString(std::int32_t number);
String toWString(std::uint16_t number);

/// Removes line feed, tab, vertical tab, form feed, carriage return and space from both ends.
void trimWhitespace(String& text);
/// Index of the first or last character outside that set, or String::notFound.
std::int32_t firstNonWhitespace(const String& text);
std::int32_t lastNonWhitespace(const String& text);

bool startsWith(const String& text, std::u16string_view beginning);
bool endsWith(const String& text, std::u16string_view ending);
/// ASCII letters only.
void toLower(String& text);
/// Replaces from left to right, never within what was put in.
void replaceAll(String& text, std::u16string_view what, std::u16string_view with);

/// Reads a decimal integer from the front of `ansi` as formatted input does: leading blanks, an
/// optional sign, digits. No number gives 0, one that does not fit the nearest limit.
std::int32_t leadingInteger(const std::string& ansi);

}  // namespace Orvane::Str
