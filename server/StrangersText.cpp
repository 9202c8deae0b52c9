#include "server/StrangersText.h"

#include <algorithm>

#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

constexpr char16_t escape = 0x1B;

}  // namespace

String shownInLog(const String& text) {
    std::u16string shown(text.view().substr(0, mostShownCharacters));
    std::replace(shown.begin(), shown.end(), escape, u'?');
    String result{std::u16string_view(shown)};
    if (text.length() > mostShownCharacters)
        result += String(" ... (") + Str::toWString(text.length()) + " characters)";
    return result;
}

}  // namespace Orvane
