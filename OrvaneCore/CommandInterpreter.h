#pragma once

#include "OrvaneCore/String.h"

namespace Orvane {

/// Runs one line through the system's command interpreter (cmd.exe or /bin/sh) and returns when it
/// has ended. The child inherits the standard streams and nothing else: a host that outlives the
/// server must not keep its ports busy. Answers the interpreter's exit status, or -1 if it could
/// not be started. Any thread.
int runCommand(const String& line);

/// Characters that the interpreter acts upon even within double quotes.
extern const std::u16string_view specialWithinQuotes;

}  // namespace Orvane
