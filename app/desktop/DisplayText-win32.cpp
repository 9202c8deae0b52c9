#include "app/desktop/DisplayText.h"
#include "app/desktop/ToolkitText.h"

namespace Orvane {

wxString displayText(const String& text) {
    return toToolkit(text);
}

}  // namespace Orvane
