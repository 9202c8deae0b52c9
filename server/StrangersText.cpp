#include "server/StrangersText.h"

#include <algorithm>

#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

bool isTerminalControl(char16_t unit) {
    return (unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || unit == 0x7F;
}

}  // namespace

String shownInLog(const String& text) {
    std::u16string shown(text.view().substr(0, mostShownCharacters));
    std::replace_if(shown.begin(), shown.end(), isTerminalControl, u'?');
    String result{std::u16string_view(shown)};
    if (text.length() > mostShownCharacters)
        result += String(" ... (") + Str::toWString(text.length()) + " characters)";
    return result;
}

}  // namespace Orvane
