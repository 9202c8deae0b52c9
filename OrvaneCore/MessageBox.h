#pragma once

#include <functional>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Caption of every box about a failed start.
extern const char* const errorCaption;

/// Shows caption and text to the user and returns when the user has taken note. Callable from any
/// thread.
using MessageBoxHandler = std::function<void(const String& caption, const String& text)>;

/// Without a handler the text goes to standard error and nobody is waited for.
void setMessageBoxHandler(MessageBoxHandler handler);
void showMessageBox(const String& caption, const String& text);

}  // namespace Orvane
