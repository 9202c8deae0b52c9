#pragma once

namespace Orvane {

/// Tells the user that a port is taken. `opening` is the text up to the port's number.
void showPortInUse(const char* opening, unsigned short port);

}  // namespace Orvane
