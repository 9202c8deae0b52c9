#include "app/desktop/FrameColour.h"

#include <wx/frame.h>
#include <wx/settings.h>

namespace Orvane {

void setFrameColour(wxFrame& frame) {
    // The toolkit chooses that of an empty work space for documents.
    frame.SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_3DFACE));
}

}  // namespace Orvane
