#pragma once

#include <span>

#include "app/CommandLine.h"

namespace Orvane {

/// Options of the headless program besides those that all have: on Windows to be a service and to
/// stop servers, on Linux, where a unit file says all that, none.
std::span<const Option> headlessOptions();

/// Runs `server` and answers its exit status; on Windows, if the command line said so, as a service
/// that the service manager starts and stops, or does what it said about services instead. Main
/// thread, after the command line was obeyed.
int runServer(int (*server)());

}  // namespace Orvane
