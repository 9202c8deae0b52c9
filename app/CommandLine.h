#pragma once

#include <optional>
#include <vector>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Does what the command line of a server program asks for before the program serves, such as to
/// change the current folder, and answers an exit status if that is all that it asks for. What
/// there is to say has then been said. Main thread, before anything else is started.
std::optional<int> obeyCommandLine(const char* program, const std::vector<String>& arguments);

}  // namespace Orvane
