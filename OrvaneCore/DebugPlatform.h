#pragma once

#include "OrvaneCore/Debug.h"

/// What Debug.cpp needs of the platform.
namespace Orvane::DebugPlatform {

bool isDebuggerAttached();
void beep();
/// The runtime library's report of a failed assertion; may end the process.
void runtimeAssertReport(const char* expression, const char* file, unsigned line);
void writeToDebugger(const String& text);
/// A prompt with the five choices.
Debug::AssertChoice askUser(const String& text);

}  // namespace Orvane::DebugPlatform
