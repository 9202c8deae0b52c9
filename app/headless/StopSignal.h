#pragma once

#include <chrono>

namespace Orvane {

/// The ways in which a system asks a program without a window to end: SIGTERM, SIGINT and SIGHUP,
/// or the console's events and the end of a Windows session. One per process, created on the main
/// thread before any other thread.
class StopSignal {
  public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Waits for `longest` at most; true when the program is to end.
    bool wait(std::chrono::milliseconds longest);
};

}  // namespace Orvane
