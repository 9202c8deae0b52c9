#pragma once

#include <wx/iconbndl.h>

namespace Orvane {

/// The program's icon in all its sizes: those of the program's resources on Windows, elsewhere the
/// embedded image, or an empty icon, without a message, should that not decode. Needs the toolkit's
/// PNG handler.
wxIconBundle loadWindowIcons();

}  // namespace Orvane
