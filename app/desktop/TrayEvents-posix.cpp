#include "app/desktop/TrayEvents.h"

namespace Orvane::TrayEvents {

// GTK reports that the icon was activated or that its menu is wanted, and no single buttons.
const Type& leftClick() {
    return wxEVT_TASKBAR_LEFT_DOWN;
}

const Type& rightClick() {
    return wxEVT_TASKBAR_CLICK;
}

}  // namespace Orvane::TrayEvents
