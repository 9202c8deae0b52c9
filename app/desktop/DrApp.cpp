#include "app/desktop/DrApp.h"

#include <wx/cmdline.h>
#include <wx/imagpng.h>
#include <wx/log.h>

#include <cstdlib>

#include "app/desktop/DrWindow.h"
#include "app/desktop/RunningInstance.h"
#include "app/desktop/WindowPlatform.h"

namespace Orvane {

bool DrApp::OnInit() {
    // What the toolkit has to say is for whoever reads the terminal; its own choice are boxes.
    delete wxLog::SetActiveTarget(new wxLogStderr);
    wxApp::OnInit();
    wxImage::AddHandler(new wxPNGHandler);
    watchForTheEnd();
    window = new DrWindow(serverFailed);
    WindowPlatform::whenDisplayIsLost([this] { window->closeWithoutDisplay(); });
    return true;
}

int DrApp::OnRun() {
    const int status = wxApp::OnRun();
    return serverFailed ? EXIT_FAILURE : status;
}

void DrApp::OnInitCmdLine(wxCmdLineParser& parser) {
    // The program has read its command line before; nothing on it is the toolkit's.
    wxApp::OnInitCmdLine(parser);
    parser.SetCmdLine(wxString());
}

void DrApp::watchForTheEnd() {
    constexpr int stopPollMs = 250;
    stopTimer = std::make_unique<wxTimer>();
    stopTimer->Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        pollStopSignal();
        pollOtherInstances();
    });
    stopTimer->Start(stopPollMs);
    // Another program may still object to the end of the session; only then is it time to close.
    Bind(wxEVT_QUERY_END_SESSION, [](wxCloseEvent&) {});
    Bind(wxEVT_END_SESSION, [this](wxCloseEvent& event) {
        StopSignal::makeUrgent();
        if (GetTopWindow() != nullptr)
            GetTopWindow()->Close(true);
        event.Skip();
    });
}

void DrApp::pollStopSignal() {
    stopRequested = stopRequested || stopSignal.wait(std::chrono::milliseconds(0));
    if (!stopRequested)
        return;
    // A box waits for a user, at start-up or for the last time, and there is none.
    if (MessageBoxWindows::isOpen())
        std::_Exit(EXIT_FAILURE);
    if (window != nullptr && window->isMenuOpen())
        window->closeUnderMenu();
    else if (window != nullptr)
        window->Close(true);
}

void DrApp::pollOtherInstances() {
    if (window != nullptr && RunningInstance::isWindowWanted())
        window->restoreFromTray();
}

}  // namespace Orvane
