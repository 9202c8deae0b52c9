#include "app/desktop/DisplayText.h"
#include "protocol/ToolkitText.h"

namespace Orvane {

wxString displayText(const String& text) {
    return toToolkit(text);
}

}  // namespace Orvane
