#pragma once

#include <filesystem>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Between the core's text and the standard library's paths, so that every path that the command
/// line can name survives. Callable from any thread.
std::filesystem::path nativePath(const String& text);
String pathText(const std::filesystem::path& path);

}  // namespace Orvane
