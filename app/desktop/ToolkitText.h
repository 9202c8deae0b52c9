#pragma once

#include <wx/string.h>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The core's text as the toolkit's, code unit by code unit.
wxString toToolkit(const String& text);

}  // namespace Orvane
