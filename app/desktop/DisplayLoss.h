#pragma once

#include <functional>

namespace Orvane {

/// On X11 a session may end by taking the display away. `handler` is then called on the main
/// thread, must not touch a window any more, and the process ends with status 0 when it returns.
/// Call when the toolkit is up; the last handler counts. Windows announces the end of a session
/// with an event instead.
void whenDisplayIsLost(std::function<void()> handler);

}  // namespace Orvane
