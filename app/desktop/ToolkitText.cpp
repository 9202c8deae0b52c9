#include "app/desktop/ToolkitText.h"

#include <wx/strconv.h>

namespace Orvane {

wxString toToolkit(const String& text) {
    const std::u16string_view units = text.view();
    const auto* bytes = reinterpret_cast<const char*>(units.data());
    // The native byte order variant would expect a mark; both our platforms are little-endian.
    return {bytes, wxMBConvUTF16LE(), units.size() * sizeof(char16_t)};
}

}  // namespace Orvane
