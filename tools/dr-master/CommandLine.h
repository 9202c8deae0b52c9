#pragma once

#include "ExitStatus.h"

namespace Orvane {

/// Parses the command line and runs its command. Failures of the command are thrown; wrong usage
/// and --help are dealt with here. 8-bit arguments in the system's ANSI code page.
ExitStatus runCommandLine(int argc, const char* const* argv);

}  // namespace Orvane
