#include "app/desktop/MyIcon.h"

#include <wx/menu.h>

#include "app/desktop/DrWindow.h"
#include "app/desktop/TrayEvents.h"
#include "app/desktop/WindowIcon.h"

namespace Orvane {

namespace {

constexpr int displayCommand = 1;
constexpr int quitCommand = 2;

}  // namespace

MyIcon::MyIcon(DrWindow& owner) : window(owner), icon(loadWindowIcon()) {
    Bind(TrayEvents::rightClick(), &MyIcon::onRightUp, this);
    Bind(TrayEvents::leftClick(), &MyIcon::onLeftUp, this);
    Bind(wxEVT_MENU, &MyIcon::onMenu, this);
}

bool MyIcon::showIcon(bool show) {
    if (!show)
        return RemoveIcon();
    return IsAvailable() && SetIcon(icon, "Orvane DR Server");
}

void MyIcon::onRightUp(wxTaskBarIconEvent& /*event*/) {
    wxMenu menu;
    menu.Append(displayCommand, "Display log window");
    menu.Append(quitCommand, "Quit");
    menuOpen = true;
    PopupMenu(&menu);
    menuOpen = false;
}

void MyIcon::onLeftUp(wxTaskBarIconEvent& /*event*/) {
    // Later, because restoring removes the very icon whose event this is.
    window.CallAfter(&DrWindow::restoreFromTray);
}

void MyIcon::onMenu(wxCommandEvent& event) {
    // Later again: the menu is still on the stack.
    if (event.GetId() == displayCommand)
        window.CallAfter(&DrWindow::restoreFromTray);
    else if (event.GetId() == quitCommand)
        window.CallAfter([this] { window.Close(true); });
}

}  // namespace Orvane
