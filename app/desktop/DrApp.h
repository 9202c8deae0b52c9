#pragma once

#include <wx/app.h>
#include <wx/timer.h>
#include <wx/weakref.h>

#include <memory>

#include "OrvaneCore/StandardStreams.h"
#include "app/StopSignal.h"
#include "app/desktop/DrWindow.h"
#include "app/desktop/MessageBoxWindows.h"

namespace Orvane {

/// The desktop program: one log window, and the ways of ending other than closing it.
class DrApp : public wxApp {
  public:
    bool OnInit() override;
    void OnInitCmdLine(wxCmdLineParser& parser) override;
    /// Status 1 when the server ended by itself.
    int OnRun() override;

  private:
    void watchForTheEnd();
    void pollStopSignal();
    void pollOtherInstances();

    StandardStreams streams;  // before anything opens the display
    StopSignal stopSignal;    // before the toolkit starts threads
    MessageBoxWindows messageBoxes;
    std::unique_ptr<wxTimer> stopTimer;
    wxWeakRef<DrWindow> window;
    bool stopRequested = false;
    bool serverFailed = false;
};

}  // namespace Orvane
