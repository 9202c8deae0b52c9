#pragma once

#include <string>

#include "OrvaneCore/String.h"

/// Assertion reports with a table of ignored sites, and a print to the debugger. The server itself
/// raises none; the module serves the code that is built on the core.
namespace Orvane::Debug {

/// What the user chose when an assertion failed.
enum class AssertChoice { Continue, IgnoreSite, Exit, Crash, IgnoreAll };

/// Shows `text` and answers the choice; called with the facility's lock held.
using AssertDialog = AssertChoice (*)(const String& text);

/// The dialog of reportAssert. Null, the start value, hands over to the runtime library's own
/// assertion report, which may end the process. Set before other threads report.
void setAssertDialog(AssertDialog dialog);

/// True when a debugger should stop at this site. The caller's thread keeps the facility's lock,
/// one level more with each call: a second failing thread waits while the first is being looked at.
bool shouldBreak(const char* file, int line);

/// Reports a failed assertion unless its site, or everything, is ignored.
void reportAssert(const char* file, int line, const char* condition, const String& extra);

/// The value that stands for "no value" in reportAssertVars: the smallest positive normal double.
extern const double noValue;
void reportAssertVars(const char* file, int line, const char* condition, double first,
                      double second);

/// A line with the time of day for the debugger; does nothing but on a developer's machine.
void debugPrint(const String& message);

}  // namespace Orvane::Debug
