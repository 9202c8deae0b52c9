#pragma once

#include "OrvaneCore/String.h"

namespace Orvane {

/// Looks up one entry in a registry file: groups as "[SOFTWARE/Maker/Key]", entries as "Name=text"
/// with literal backslashes, names without regard to case, "#" and ";" comments. Either slash
/// separates the parts of a key. A missing file is empty.
bool readRegistryFile(const String& path, const String& keyPath, const String& valueName,
                      String& value);

/// A line for the log when there is something at `path` that cannot be read as a file.
String registryFileObstacle(const String& path);

}  // namespace Orvane
