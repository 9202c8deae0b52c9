#include "app/desktop/DisplayText.h"

#include <string>

#include "app/desktop/ToolkitText.h"

namespace Orvane {

namespace {

/// Empty when the text does not stand for UTF-8 bytes.
wxString decoded(const String& text) {
    const std::string bytes = toAnsi(text);
    return toWide(bytes) == text ? wxString::FromUTF8(bytes.data(), bytes.size()) : wxString();
}

wxString displayLine(const String& line) {
    const wxString readable = decoded(line);
    return readable.empty() ? toToolkit(line) : readable;
}

}  // namespace

wxString displayText(const String& text) {
    // A batch is mostly plain; only one with foreign bytes in it is looked at line by line.
    wxString shown = decoded(text);
    if (!shown.empty())
        return shown;
    const std::u16string_view units = text.view();
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < units.size(); begin = end) {
        const std::size_t lineFeed = units.find(u'\n', begin);
        end = lineFeed == units.npos ? units.size() : lineFeed + 1;
        shown += displayLine(String(units.substr(begin, end - begin)));
    }
    return shown;
}

}  // namespace Orvane
