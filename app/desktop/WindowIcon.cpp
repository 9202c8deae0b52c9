#include "app/desktop/WindowIcon.h"

#include <wx/bitmap.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/mstream.h>

#include "app/desktop/IconImage.h"
#include "app/desktop/WindowPlatform.h"

namespace Orvane {

namespace {

wxIcon embeddedIcon() {
    wxMemoryInputStream stream(iconImage, iconImageSize);
    const wxImage image(stream);
    wxIcon icon;
    if (image.IsOk())
        icon.CopyFromBitmap(wxBitmap(image));
    return icon;
}

}  // namespace

wxIconBundle loadWindowIcons() {
    const wxLogNull quiet;
    wxIconBundle icons = WindowPlatform::iconsOfProgram();
    if (icons.IsEmpty())
        icons.AddIcon(embeddedIcon());
    return icons;
}

}  // namespace Orvane
