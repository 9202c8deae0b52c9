#include "app/desktop/LogText.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "app/desktop/DisplayText.h"

namespace Orvane {

namespace {

// A few milliseconds' worth; a usual batch is a tenth of it.
constexpr std::int32_t pieceUnits = 16384;

std::int32_t endOfPiece(const String& text, std::int32_t begin) {
    const std::int32_t lineFeed = text.length() - begin > pieceUnits
                                      ? text.find(u"\n", begin + pieceUnits)
                                      : String::notFound;
    return lineFeed == String::notFound ? text.length() : lineFeed + 1;
}

/// Without their ends.
std::vector<long> lengthsOfLines(const wxString& text) {
    std::vector<long> lengths;
    for (std::size_t begin = 0, end = 0; begin < text.length(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.length());
        lengths.push_back(static_cast<long>(end - begin));
    }
    return lengths;
}

}  // namespace

LogText::LogText(wxWindow* parent)
    : wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, parent->FromDIP(wxSize(600, 400)),
                 wxTE_MULTILINE | wxTE_READONLY) {
    Bind(wxEVT_IDLE, [this](wxIdleEvent& event) {
        showPiece();
        event.RequestMore(!unshown.isEmpty());
        event.Skip();
    });
}

void LogText::append(const String& batch) {
    const bool waiting = !unshown.isEmpty();
    unshown += batch;
    skipWhatWouldNotStay();
    if (!waiting)
        showPiece();
}

void LogText::skipWhatWouldNotStay() {
    const std::u16string_view waiting = unshown.view().substr(static_cast<std::size_t>(position));
    std::size_t begin = waiting.size();
    for (std::size_t lines = 0; begin > 0 && lines < mostLines; ++lines) {
        const std::size_t lineFeed = begin < 2 ? waiting.npos : waiting.rfind(u'\n', begin - 2);
        begin = lineFeed == waiting.npos ? 0 : lineFeed + 1;
    }
    if (begin == 0)
        return;
    unshown = String(waiting.substr(begin));
    position = 0;
}

void LogText::showPiece() {
    // Even an empty text would take away what the user has selected.
    if (unshown.isEmpty())
        return;
    const std::int32_t end = endOfPiece(unshown, position);
    const auto units = static_cast<std::size_t>(end - position);
    show(displayText(String(unshown.view().substr(static_cast<std::size_t>(position), units))));
    position = end;
    if (position < unshown.length())
        return;
    unshown.truncate(0);
    position = 0;
}

void LogText::show(const wxString& text) {
    const long before = GetLastPosition();
    AppendText(text);
    const std::vector<long> lengths = lengthsOfLines(text);
    // What a line's end counts for, the control decides.
    const long ends =
        GetLastPosition() - before - std::accumulate(lengths.begin(), lengths.end(), 0L);
    for (const long length : lengths)
        lineLengths.push_back(length + ends / static_cast<long>(lengths.size()));
    removeOldLines();
}

void LogText::removeOldLines() {
    if (lineLengths.size() <= mostLines)
        return;
    const auto firstKept =
        lineLengths.begin() + static_cast<std::ptrdiff_t>(lineLengths.size() - mostLines);
    Remove(0, std::accumulate(lineLengths.begin(), firstKept, 0L));
    lineLengths.erase(lineLengths.begin(), firstKept);
}

}  // namespace Orvane
