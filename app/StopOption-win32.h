#pragma once

#include "app/CommandLine.h"

namespace Orvane {

/// "--stop SECONDS": asks every DR server of this computer to end, and waits for it. Answers 0 when
/// none runs any more, 1 when that is not this user's to ask, 3 when one is still at work.
extern const Option stopOption;

}  // namespace Orvane
