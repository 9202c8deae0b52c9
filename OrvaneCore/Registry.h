#pragma once

#include <cstdint>

#include "OrvaneCore/String.h"

/// Read-only machine-wide settings: on Windows the registry below HKEY_LOCAL_MACHINE in its 64-bit
/// view, on Linux the file that Registry-posix.cpp names. Key paths may be written with "/".
/// Answers false for what is not there. Callable from any thread.
namespace Orvane {

/// The value's bytes are taken as text up to the first zero, whatever type it has.
bool readRegistryString(String& keyPath, const String& valueName, String& value);
bool readRegistryNumber(String& keyPath, const String& valueName, std::uint32_t& value);

/// Why nothing at all can be read, as a line for the log; empty when there is no reason.
String registryObstacle();

}  // namespace Orvane
