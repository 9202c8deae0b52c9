#pragma once

#include "OrvaneCore/String.h"

namespace Orvane {

/// A line of the log shows no more of what a peer has written: real messages have a few hundred
/// characters, and sixty thousand in each line would fill a disk.
constexpr std::int32_t mostShownCharacters = 4096;

/// A peer's text as it may stand in the log: cut to that length, and with "?" for
/// characters by which a text can take over the terminal that shows it.
String shownInLog(const String& text);

}  // namespace Orvane
