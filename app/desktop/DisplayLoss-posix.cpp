#include "app/desktop/DisplayLoss.h"

#include <X11/Xlib.h>

#include <cstdlib>
#include <utility>

namespace Orvane {

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

}  // namespace Orvane
