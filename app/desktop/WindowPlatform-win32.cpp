#include "app/desktop/WindowPlatform.h"

#include <wx/frame.h>
#include <wx/settings.h>

namespace Orvane::WindowPlatform {

void setFrameColour(wxFrame& frame) {
    // The toolkit chooses that of an empty work space for documents.
    frame.SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_3DFACE));
}

wxIconBundle iconsOfProgram() {
    // The number that the resource file gives it.
    return {"#1", nullptr};
}

const TrayEvent& trayLeftClick() {
    return wxEVT_TASKBAR_LEFT_UP;
}

const TrayEvent& trayRightClick() {
    return wxEVT_TASKBAR_RIGHT_UP;
}

void whenDisplayIsLost(std::function<void()> /*never*/) {}

}  // namespace Orvane::WindowPlatform
