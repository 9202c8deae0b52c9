#pragma once

#include <string>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The path as Windows' wide calls take it at any length: unchanged while it is short, from 248
/// characters on (the limit for folders) in the absolute form that has no limit. Any thread.
std::wstring longPath(const String& path);

}  // namespace Orvane
