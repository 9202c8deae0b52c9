#pragma once

#include <wx/iconbndl.h>
#include <wx/taskbar.h>

#include <functional>

class wxFrame;

/// What the window needs to know of the platform below the toolkit. Main thread only.
namespace Orvane::WindowPlatform {

/// Gives a frame that holds controls directly the colour that is meant to lie behind controls.
void setFrameColour(wxFrame& frame);

/// The icons that the program file itself carries for its system; empty where there are none.
wxIconBundle iconsOfProgram();

/// What the toolkit sends when the user clicks on the tray icon.
using TrayEvent = wxEventTypeTag<wxTaskBarIconEvent>;
const TrayEvent& trayLeftClick();
const TrayEvent& trayRightClick();

/// On X11 a session may end by taking the display away. `handler` is then called on the main
/// thread, must not touch a window any more, and the process ends with status 0 when it returns.
/// Call when the toolkit is up; the last handler counts. Windows announces the end of a session
/// with an event instead.
void whenDisplayIsLost(std::function<void()> handler);

}  // namespace Orvane::WindowPlatform
