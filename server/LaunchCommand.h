#pragma once

#include "config/DrConfig.h"
#include "protocol/Messages.h"

namespace Orvane {

/// Longer texts of a request are refused: the command line must stay within the 8,191 characters of
/// Windows' command interpreter, and lists of frames or names of cameras are never so long.
constexpr std::int32_t mostFieldCharacters = 2048;

/// Why this job must not reach a command interpreter, naming the field; empty when it may. The
/// texts come from the network.
String refusalOf(const FrameInfo& frameInfo);

/// What the line has the interpreter say first.
extern const char* const launchEcho;

/// The line that starts the host's command-line renderer on a scene and appends its output to a
/// file: MaxLog.txt in the data folder, if none is given.
String launchCommand(const String& hostFolder, const String& scenePath, const DrConfig& config,
                     const FrameInfo& frameInfo, const String& outputPath = {});

}  // namespace Orvane
