#include "app/desktop/WindowIcon.h"

#include <wx/bitmap.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/mstream.h>

#include "app/desktop/IconImage.h"

namespace Orvane {

wxIcon loadWindowIcon() {
    const wxLogNull quiet;
    wxMemoryInputStream stream(iconImage, iconImageSize);
    const wxImage image(stream);
    wxIcon icon;
    if (image.IsOk())
        icon.CopyFromBitmap(wxBitmap(image));
    return icon;
}

}  // namespace Orvane
