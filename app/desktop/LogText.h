#pragma once

#include <wx/textctrl.h>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// The visible log: read-only, at its end the newest line. A batch that would take long to show is
/// shown piece by piece, between the events of the window.
class LogText : public wxTextCtrl, public LogView {
  public:
    explicit LogText(wxWindow* parent);

    void append(const String& batch) override;

  private:
    void showPiece();

    String unshown;
    std::int32_t position = 0;  // in unshown
};

}  // namespace Orvane
