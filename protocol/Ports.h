#pragma once

namespace Orvane {

/// Fixed: masters and plug-ins have them built in.
constexpr unsigned short discoveryPort = 19666;  ///< UDP, all interfaces
constexpr unsigned short loopbackPort = 19667;   ///< TCP, 127.0.0.1, the renderer plug-in
constexpr unsigned short masterPort = 19668;     ///< TCP, all interfaces

}  // namespace Orvane
