#include <cstdlib>

#include "OrvaneCore/CommandInterpreter.h"

namespace Orvane {

int runCommand(const String& line) {
    // Sockets and files are made non-inheritable where they are opened.
    return std::system(line.narrow());
}

}  // namespace Orvane
