#include "app/desktop/ToolkitText.h"

#include <wx/strconv.h>

namespace Orvane {

wxString toToolkit(const String& text) {
    const std::u16string_view units = text.view();
    const auto* bytes = reinterpret_cast<const char*>(units.data());
    // The native byte order variant would expect a mark; both our platforms are little-endian.
    return {bytes, wxMBConvUTF16LE(), units.size() * sizeof(char16_t)};
}

String fromToolkit(const wxString& text) {
    const wxScopedCharBuffer bytes = text.mb_str(wxMBConvUTF16LE());
    return String(std::u16string_view(reinterpret_cast<const char16_t*>(bytes.data()),
                                      bytes.length() / sizeof(char16_t)));
}

}  // namespace Orvane
