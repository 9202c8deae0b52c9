#include "app/desktop/TrayEvents.h"

namespace Orvane::TrayEvents {

const Type& leftClick() {
    return wxEVT_TASKBAR_LEFT_UP;
}

const Type& rightClick() {
    return wxEVT_TASKBAR_RIGHT_UP;
}

}  // namespace Orvane::TrayEvents
