#pragma once

#include <wx/icon.h>
#include <wx/taskbar.h>

namespace Orvane {

class DrWindow;

/// The program's icon in the notification area, visible only while its window is hidden. Belongs to
/// the window, which ends it with Destroy().
class MyIcon : public wxTaskBarIcon {
  public:
    explicit MyIcon(DrWindow& owner);

    /// Puts the icon into the notification area or takes it out; false when there is no such area.
    bool showIcon(bool show);

    /// The icon must not be destroyed while its menu is open.
    bool isMenuOpen() const { return menuOpen; }

  private:
    void onLeftUp(wxTaskBarIconEvent& event);
    void onRightUp(wxTaskBarIconEvent& event);
    void onMenu(wxCommandEvent& event);

    DrWindow& window;
    wxIcon icon;
    bool menuOpen = false;
};

}  // namespace Orvane
