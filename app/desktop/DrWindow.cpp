#include "app/desktop/DrWindow.h"

#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/evtloop.h>
#include <wx/hyperlink.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "app/StopSignal.h"
#include "app/desktop/DisplayText.h"
#include "app/desktop/FolderOpener.h"
#include "app/desktop/LogText.h"
#include "app/desktop/MessageBoxWindows.h"
#include "app/desktop/MyIcon.h"
#include "app/desktop/WindowIcon.h"
#include "app/desktop/WindowPlatform.h"
#include "server/Startup.h"

namespace Orvane {

namespace {

constexpr int saveImagesId = 3;
constexpr int flushTimerId = 0;
constexpr int borderWidth = 3;  // in pixels of a screen with 96 dpi
constexpr int stopPollMs = 50;

}  // namespace

DrWindow::DrWindow(bool& serverFailed)
    : wxFrame(nullptr, wxID_ANY, wxString("Orvane Renderer DrServer | ") + versionText),
      flushTimer(this, flushTimerId),
      failed(serverFailed) {
    layOut();
    Bind(wxEVT_CLOSE_WINDOW, &DrWindow::onClose, this);
    Bind(wxEVT_ICONIZE, &DrWindow::onIconize, this);
    SetIcons(loadWindowIcons());
    GetSizer()->Fit(this);
    log.setView(textCtrl);
    log.setCloseHandler([this] { giveUp(); });
    log.log("DR server started");
    start();
}

DrWindow::~DrWindow() {
    WindowPlatform::whenDisplayIsLost([] {});
}

void DrWindow::layOut() {
    WindowPlatform::setFrameColour(*this);
    auto* column = new wxBoxSizer(wxVERTICAL);
    const int borderPixels = FromDIP(borderWidth);
    saveImages = new wxCheckBox(this, saveImagesId, "[DEBUG] Save sent images");
    saveImages->SetToolTip(
        "When enabled, saves all images sent from this slave in the DR server folder for "
        "debugging.");
    column->Add(saveImages, 0, wxALL, borderPixels);
    column->Add(makeFolderRow(), 0, wxALL, borderPixels);
    column->Add(new wxStaticText(this, wxID_ANY, "Log:"), 0, wxALL, borderPixels);
    textCtrl = new LogText(this);
    column->Add(textCtrl, 1, wxEXPAND | wxALL, borderPixels);
    SetSizer(column);
}

wxSizer* DrWindow::makeFolderRow() {
    const String folder = FileSystem::workingDirectory();
    const wxString shown = displayText(folder);
    // Not the native control: on GTK it doubles underscores.
    auto* link = new wxGenericHyperlinkCtrl(this, wxID_ANY, shown, shown);
    // The toolkit would take the target for a web address.
    link->Bind(wxEVT_HYPERLINK, [folder](wxHyperlinkEvent&) { openFolder(folder); });
    link->Bind(wxEVT_MENU_OPEN, [this](wxMenuEvent&) { linkMenuOpen = true; });
    link->Bind(wxEVT_MENU_CLOSE, [this](wxMenuEvent&) { linkMenuOpen = false; });
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(new wxStaticText(this, wxID_ANY, "Working directory:"), 0, wxALIGN_CENTER_VERTICAL);
    row->Add(link, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, FromDIP(borderWidth));
    return row;
}

void DrWindow::start() {
    server = std::make_unique<DrServer>(log);
    try {
        if (!failed)
            showWithServer();
    } catch (const Exception&) {
        showFolderNotWritable(*server);
        failed = true;
    }
    if (failed) {
        Close(true);
        return;
    }
    phase = Phase::Running;
    Bind(wxEVT_TIMER, &DrWindow::onFlushTimer, this, flushTimerId);
    flushTimer.Start(DrLog::flushPeriodMs);
}

void DrWindow::showWithServer() {
    openLogFile(log, *server);
    Bind(wxEVT_CHECKBOX, &DrWindow::onSaveImagesToggled, this, saveImagesId);
    trayIcon = new MyIcon({[this] { restoreFromTray(); }, [this] { Close(true); }});
    saveImages->SetValue(server->configuration().retainExr);
    restoreFromTray();
    logStartup(log, *server);
}

void DrWindow::giveUp() {
    if (phase == Phase::Closing)
        return;
    failed = true;
    // A window that is still being made closes when that is done.
    if (phase == Phase::Running)
        Close();
}

void DrWindow::restoreFromTray() {
    Iconize(false);
    Show();
    Raise();
    if (trayIcon != nullptr)
        trayIcon->showIcon(false);
}

bool DrWindow::mayClose() const {
    // An open box or menu is further up on this very stack, and needs what closing would delete.
    return phase != Phase::Closing && !isMenuOpen() && !MessageBoxWindows::isOpen();
}

bool DrWindow::isMenuOpen() const {
    return linkMenuOpen || (trayIcon != nullptr && trayIcon->isMenuOpen());
}

void DrWindow::closeUnderMenu() {
    if (phase == Phase::Closing)
        return;
    phase = Phase::Closing;
    stopServer();
    log.flush();
    // Not by returning: the menu further up on this stack would go on with what is gone.
    std::_Exit(failed ? EXIT_FAILURE : EXIT_SUCCESS);
}

void DrWindow::stopServer() {
    if (server == nullptr)
        return;
    server->requestStop();
    // The log is shown until the end, and a box of a worker can be dismissed.
    // Not by timers: who tells every window of a Windows program to close has closed theirs, too.
    wxGUIEventLoop loop;
    const wxEventLoopActivator activation(&loop);
    while (server->isBusy()) {
        loop.DispatchTimeout(stopPollMs);
        wxTheApp->ProcessPendingEvents();
        if (StopSignal::isUrgent())
            server->endHost();
        log.flush();
        server->refreshState();
    }
    server.reset();
}

void DrWindow::closeWithoutDisplay() {
    phase = Phase::Closing;
    log.setView(nullptr);
    if (server == nullptr)
        return;
    server->requestStop();
    // A box can no longer be dismissed, and who asked for one will not go on without.
    while (server->isBusy() && !MessageBoxWindows::isOpen()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(stopPollMs));
        log.flush();
    }
    log.flush();
}

void DrWindow::onClose(wxCloseEvent& event) {
    if (!mayClose()) {
        if (event.CanVeto())
            event.Veto();
        return;
    }
    phase = Phase::Closing;
    if (trayIcon != nullptr)
        trayIcon->Destroy();
    trayIcon = nullptr;
    stopServer();
    log.flush();
    event.Skip();
}

void DrWindow::onIconize(wxIconizeEvent& event) {
    // Restoring is announced in the same way. Without a notification area, or without an icon in
    // it, a hidden window could not be reached.
    if (event.IsIconized() && trayIcon != nullptr && trayIcon->showIcon(true))
        Hide();
}

void DrWindow::onSaveImagesToggled(wxCommandEvent& event) {
    if (server != nullptr)
        server->configuration().retainExr = event.IsChecked();
}

void DrWindow::onFlushTimer(wxTimerEvent& /*event*/) {
    log.flush();
    if (server != nullptr)
        server->refreshState();
    // The notification area may go away, and the only way to the window with it.
    if (trayIcon != nullptr && !IsShown() && !wxTaskBarIcon::IsAvailable())
        restoreFromTray();
}

}  // namespace Orvane
