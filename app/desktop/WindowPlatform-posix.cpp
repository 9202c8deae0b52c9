#include "app/desktop/WindowPlatform.h"

#include <X11/Xlib.h>

#include <cstdlib>
#include <utility>

namespace Orvane::WindowPlatform {

void setFrameColour(wxFrame& /*frame*/) {
    // A theme does that, and may change.
}

wxIconBundle iconsOfProgram() {
    return {};
}

// GTK reports that the icon was activated or that its menu is wanted, and no single buttons.
const TrayEvent& trayLeftClick() {
    return wxEVT_TASKBAR_LEFT_DOWN;
}

const TrayEvent& trayRightClick() {
    return wxEVT_TASKBAR_CLICK;
}

namespace {

std::function<void()> lossHandler;

// The library forbids a return, and the toolkit's own clean-up would talk to the display.
int onDisplayLost(Display* /*gone*/) {
    lossHandler();
    std::_Exit(EXIT_SUCCESS);
}

}  // namespace

void whenDisplayIsLost(std::function<void()> handler) {
    lossHandler = std::move(handler);
    XSetIOErrorHandler(onDisplayLost);
}

}  // namespace Orvane::WindowPlatform
