#pragma once

#include <wx/string.h>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Between the core's text and the toolkit's, code unit by code unit.
wxString toToolkit(const String& text);
String fromToolkit(const wxString& text);

}  // namespace Orvane
