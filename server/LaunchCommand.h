#pragma once

#include "config/DrConfig.h"
#include "protocol/Messages.h"

namespace Orvane {

/// Why this job must not reach a command interpreter, naming the field; empty when it may. The
/// texts come from the network.
String refusalOf(const FrameInfo& frameInfo);

/// Whether the interpreter would take this line, with a longer name for the output file, too.
bool fitsInterpreter(const String& line);

/// What the line has the interpreter say first.
extern const char* const launchEcho;

/// The line that starts the host's command-line renderer on a scene and appends its output to a
/// file: MaxLog.txt in the data folder, if none is given.
String launchCommand(const String& hostFolder, const String& scenePath, const DrConfig& config,
                     const FrameInfo& frameInfo, const String& outputPath = {});

}  // namespace Orvane
