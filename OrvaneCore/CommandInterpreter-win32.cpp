#include "OrvaneCore/CommandInterpreter.h"

#include <cstdlib>

namespace Orvane {

const std::u16string_view specialWithinQuotes = u"\"%";

int runCommand(const String& line) {
    // Sockets and files are made non-inheritable where they are opened.
    return std::system(line.narrow());
}

}  // namespace Orvane
