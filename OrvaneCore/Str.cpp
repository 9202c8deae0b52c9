#include "OrvaneCore/Str.h"

#include <algorithm>
#include <cstddef>
#include <locale>
#include <sstream>

namespace Orvane::Str {

const std::string base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

namespace {

constexpr std::u16string_view whitespace = u"\n\t\v\f\r ";

/// Groups of three digits without limit; "," and "." are the facet's own defaults.
class CommaFacet : public std::numpunct<char> {
  protected:
    std::string do_grouping() const override { return "\3"; }
};

const std::locale& formattingLocale() {
    static const std::locale grouped(std::locale::classic(), new CommaFacet);
    return grouped;
}

/// The digits of `number`, from the right in groups of one size.
std::string groupedDigits(std::uint64_t number, const std::numpunct<char>& punctuation) {
    std::string digits = std::to_string(number);
    const auto group = static_cast<std::size_t>(punctuation.grouping().front());
    for (std::size_t at = digits.size(); at > group;) {
        at -= group;
        digits.insert(at, 1, punctuation.thousands_sep());
    }
    return digits;
}

std::int32_t indexOrNotFound(std::size_t index) {
    return index == std::u16string_view::npos ? String::notFound : static_cast<std::int32_t>(index);
}

}  // namespace

String getFormatted(std::uint64_t number) {
    constexpr std::uint64_t exactBelow = 100000000;
    constexpr std::uint64_t million = 1000000;
    const auto& punctuation = std::use_facet<std::numpunct<char>>(formattingLocale());
    if (number < exactBelow)
        return String(groupedDigits(number, punctuation));
    return String(groupedDigits(number / million, punctuation) + " M");
}

String toWString(std::int32_t number) {
    return String(std::to_string(number));
}

String toWString(std::uint16_t number) {
    return String(std::to_string(number));
}

std::int32_t firstNonWhitespace(const String& text) {
    return indexOrNotFound(text.view().find_first_not_of(whitespace));
}

std::int32_t lastNonWhitespace(const String& text) {
    return indexOrNotFound(text.view().find_last_not_of(whitespace));
}

void trimWhitespace(String& text) {
    const std::int32_t first = firstNonWhitespace(text);
    if (first == String::notFound) {
        text.truncate(0);
        return;
    }
    const auto start = static_cast<std::size_t>(first);
    const auto end = static_cast<std::size_t>(lastNonWhitespace(text)) + 1;
    text = String(text.view().substr(start, end - start));
}

bool startsWith(const String& text, std::u16string_view beginning) {
    return text.view().starts_with(beginning);
}

bool endsWith(const String& text, std::u16string_view ending) {
    return text.view().ends_with(ending);
}

void toLower(String& text) {
    std::u16string lower(text.view());
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
    });
    text = String(lower);
}

void replaceAll(String& text, std::u16string_view what, std::u16string_view with) {
    if (what.empty())
        return;
    String result;
    std::u16string_view rest = text.view();
    for (std::size_t at = rest.find(what); at != rest.npos; at = rest.find(what)) {
        result.append(rest.substr(0, at)).append(with);
        rest.remove_prefix(at + what.size());
    }
    result.append(rest);
    text.swap(result);
}

std::int32_t leadingInteger(const std::string& ansi) {
    std::istringstream stream(ansi);
    stream.imbue(std::locale::classic());
    std::int32_t number = 0;
    stream >> number;
    return number;
}

}  // namespace Orvane::Str
