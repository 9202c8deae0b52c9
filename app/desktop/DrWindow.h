#pragma once

#include <wx/frame.h>
#include <wx/timer.h>

#include <memory>

#include "OrvaneCore/DrLog.h"
#include "server/DrServer.h"

class wxCheckBox;

namespace Orvane {

class LogText;
class MyIcon;

/// The log window. Owns the log, the server that writes it and the tray icon: the program lives as
/// long as this window. Everything on the main thread; workers reach it through the log only.
class DrWindow : public wxFrame {
  public:
    /// Starts the server, which may show message boxes, and shows the window. When it cannot go on
    /// it has told the user and closed itself before it returns. `serverFailed` becomes true when
    /// the server gives up, then or later, rather than being closed by somebody; it outlives the
    /// window.
    explicit DrWindow(bool& serverFailed);
    ~DrWindow() override;

    /// Un-minimises, shows and raises the window and removes the tray icon.
    void restoreFromTray();

    /// Stops the server as closing does, without touching what is on the display.
    void closeWithoutDisplay();

    /// A menu of the window or of its icon is open, which keeps the window from being closed.
    bool isMenuOpen() const;
    /// Stops the server as closing does, then ends the process: for when nobody is there to dismiss
    /// the menu. The log is shown until the end. Returns only if the window is closing already.
    void closeUnderMenu();

  protected:
    DrLog log;

  private:
    void layOut();
    wxSizer* makeFolderRow();
    void start();
    void showWithServer();
    void giveUp();
    bool mayClose() const;
    void stopServer();
    void onClose(wxCloseEvent& event);
    void onIconize(wxIconizeEvent& event);
    void onSaveImagesToggled(wxCommandEvent& event);
    void onFlushTimer(wxTimerEvent& event);

    wxCheckBox* saveImages = nullptr;
    LogText* textCtrl = nullptr;
    wxTimer flushTimer;
    MyIcon* trayIcon = nullptr;        // ended with Destroy()
    std::unique_ptr<DrServer> server;  // before the log and the controls go
    bool linkMenuOpen = false;
    enum class Phase { Starting, Running, Closing } phase = Phase::Starting;
    bool& failed;
};

}  // namespace Orvane
