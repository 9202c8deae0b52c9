#pragma once

#include <vector>

#include "OrvaneCore/String.h"

namespace Orvane {

/// What was typed behind the program's name. `count` and `values` are those of main(); Windows has
/// the whole text elsewhere.
std::vector<String> typedArguments(int count, const char* const* values);

enum class Answer { Asked, Error };

/// Writes to standard output or, for an error, to standard error. A window program on Windows has
/// neither, unless they were redirected: it writes to the console that it was started from, or
/// shows a box and waits until it is dismissed.
void showAnswer(const String& text, Answer kind);

}  // namespace Orvane
