#pragma once

#include <wx/string.h>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The core's text as a person should read it. On Linux each unit of the core's text holds one
/// byte: each line whose bytes are UTF-8, as in most paths there, is shown as such.
wxString displayText(const String& text);

}  // namespace Orvane
