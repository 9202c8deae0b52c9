#pragma once

#include <wx/icon.h>

namespace Orvane {

/// The program's embedded icon; an empty one, without a message, should it not decode. Needs the
/// toolkit's PNG handler.
wxIcon loadWindowIcon();

}  // namespace Orvane
