#pragma once

#include <optional>
#include <span>
#include <vector>

#include "OrvaneCore/String.h"

namespace Orvane {

struct Option {
    const char* name;
    const char* value;  // how the help calls it; null for an option that has none
    const char* help;
    /// Answers an exit status if the program is not to serve.
    std::optional<int> (*obey)(const String& program, const String& value);
};

/// Does what the command line of a server program asks for before the program serves, such as to
/// change the current folder, and answers an exit status if that is all that it asks for. What
/// there is to say has then been said. `own` are the program's options besides those that all have.
/// Main thread, before anything else is started.
std::optional<int> obeyCommandLine(const char* program, std::span<const Option> own,
                                   const std::vector<String>& arguments);

/// The folder that the command line named.
const std::optional<String>& chosenFolder();

}  // namespace Orvane
