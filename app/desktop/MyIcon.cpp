#include "app/desktop/MyIcon.h"

#include <wx/menu.h>
#include <wx/settings.h>

#include <utility>

#include "app/desktop/WindowIcon.h"
#include "app/desktop/WindowPlatform.h"

namespace Orvane {

namespace {

constexpr int displayCommand = 1;
constexpr int quitCommand = 2;

/// Where the toolkit does not know it, which GTK's does not, the notification area scales.
wxSize notificationSize() {
    constexpr int largest = 64;
    const int size = wxSystemSettings::GetMetric(wxSYS_SMALLICON_X);
    return size > 0 ? wxSize(size, size) : wxSize(largest, largest);
}

}  // namespace

MyIcon::MyIcon(Commands userCommands)
    : commands(std::move(userCommands)),
      icon(loadWindowIcons().GetIcon(notificationSize(), wxIconBundle::FALLBACK_NEAREST_LARGER)) {
    Bind(WindowPlatform::trayRightClick(), &MyIcon::onRightUp, this);
    Bind(WindowPlatform::trayLeftClick(), &MyIcon::onLeftUp, this);
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
    CallAfter(commands.displayWindow);
}

void MyIcon::onMenu(wxCommandEvent& event) {
    // Later again: the menu is still on the stack.
    if (event.GetId() == displayCommand)
        CallAfter(commands.displayWindow);
    else if (event.GetId() == quitCommand)
        CallAfter(commands.quit);
}

}  // namespace Orvane
