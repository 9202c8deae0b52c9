#pragma once

#include "OrvaneCore/String.h"

namespace Orvane {

/// Shows a folder in the desktop's file manager, without waiting for it. A desktop that has none
/// says so itself, if at all.
void openFolder(const String& folder);

}  // namespace Orvane
