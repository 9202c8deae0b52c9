#pragma once

#include <string>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The path as Windows' wide calls take it at any length: unchanged while it is short, from 248
/// characters on (the limit for folders) in the absolute form that has no limit. Any thread.
std::wstring longPath(const String& path);
/// The same path without the prefix of that form, to be shown and to be added to.
String plainPath(const std::wstring& path);

}  // namespace Orvane
