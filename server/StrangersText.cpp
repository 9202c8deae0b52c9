#include "server/StrangersText.h"

#include <algorithm>

#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

constexpr char16_t escape = 0x1B;

/// A terminal reads the log as UTF-8. Pairs of bytes are then control characters that begin what
/// others begin with the escape character.
void replaceEncodedControls(std::u16string& text) {
    const std::string bytes = toAnsi(String(std::u16string_view(text)));
    for (std::size_t i = 1; i < bytes.size() && bytes.size() == text.size(); ++i)
        if (bytes[i - 1] == '\xC2' && (bytes[i] & '\xE0') == '\x80')
            text[i] = u'?';
}

}  // namespace

String shownInLog(const String& text) {
    std::u16string shown(text.view().substr(0, mostShownCharacters));
    std::replace(shown.begin(), shown.end(), escape, u'?');
    replaceEncodedControls(shown);
    String result{std::u16string_view(shown)};
    if (text.length() > mostShownCharacters)
        result += String(" ... (") + Str::toWString(text.length()) + " characters)";
    return result;
}

}  // namespace Orvane
