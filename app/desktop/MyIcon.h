#pragma once

#include <wx/icon.h>
#include <wx/taskbar.h>

#include <functional>

namespace Orvane {

/// The program's icon in the notification area, visible only while its window is hidden. Belongs to
/// the window, which ends it with Destroy().
class MyIcon : public wxTaskBarIcon {
  public:
    /// What the user asks for with it. Called on the main thread, after the event that asked.
    struct Commands {
        std::function<void()> displayWindow;
        std::function<void()> quit;
    };

    explicit MyIcon(Commands userCommands);

    /// Puts the icon into the notification area or takes it out; false when there is no such area.
    bool showIcon(bool show);

    /// The icon must not be destroyed while its menu is open.
    bool isMenuOpen() const { return menuOpen; }

  private:
    void onLeftUp(wxTaskBarIconEvent& event);
    void onRightUp(wxTaskBarIconEvent& event);
    void onMenu(wxCommandEvent& event);

    Commands commands;
    wxIcon icon;
    bool menuOpen = false;
};

}  // namespace Orvane
