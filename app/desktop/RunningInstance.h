#pragma once

#include <optional>
#include <span>

#include "app/CommandLine.h"

/// On Windows one desktop program per session, which shows its window when it is started again. On
/// Linux the ports alone say that another one runs, and none of this does anything.
namespace Orvane::RunningInstance {

/// Options of the desktop program besides those that all have.
std::span<const Option> options();

/// An exit status if this start is to leave the work to a server that runs already, which has then
/// been told, or the user has. Main thread, after the command line was obeyed.
std::optional<int> leaveTheWork();

/// Whether another start has asked for the window since the last call.
bool isWindowWanted();

}  // namespace Orvane::RunningInstance
