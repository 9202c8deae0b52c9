#pragma once

#include <wx/textctrl.h>

#include <deque>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// The visible log: read-only, at its end the newest line. A batch that would take long to show is
/// shown piece by piece, between the events of the window.
class LogText : public wxTextCtrl, public LogView {
  public:
    /// Older ones go: a window may be open for months.
    static constexpr std::size_t mostLines = 20000;

    explicit LogText(wxWindow* parent);

    void append(const String& batch) override;

  private:
    void skipWhatWouldNotStay();
    void showPiece();
    void show(const wxString& text);
    void removeOldLines();

    String unshown;
    std::int32_t position = 0;     // in unshown
    std::deque<long> lineLengths;  // of what is shown, in the control's positions
};

}  // namespace Orvane
