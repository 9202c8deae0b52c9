#include "app/desktop/LogText.h"

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
    if (!waiting)
        showPiece();
}

void LogText::showPiece() {
    // Even an empty text would take away what the user has selected.
    if (unshown.isEmpty())
        return;
    const std::int32_t end = endOfPiece(unshown, position);
    const auto units = static_cast<std::size_t>(end - position);
    AppendText(
        displayText(String(unshown.view().substr(static_cast<std::size_t>(position), units))));
    position = end;
    if (position < unshown.length())
        return;
    unshown.truncate(0);
    position = 0;
}

}  // namespace Orvane
