#include "app/desktop/FrameColour.h"

namespace Orvane {

void setFrameColour(wxFrame& /*frame*/) {
    // A theme does that, and may change.
}

}  // namespace Orvane
