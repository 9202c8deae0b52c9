#pragma once

#include <wx/taskbar.h>

/// What the toolkit sends when the user clicks on the tray icon; it differs between platforms.
namespace Orvane::TrayEvents {

using Type = wxEventTypeTag<wxTaskBarIconEvent>;

const Type& leftClick();
const Type& rightClick();

}  // namespace Orvane::TrayEvents
