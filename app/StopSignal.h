#pragma once

#include <chrono>

namespace Orvane {

/// The ways in which a system asks a program to end other than through its window: SIGTERM, SIGINT
/// and SIGHUP, or a Windows console's events, the end of the session, taskkill, the service manager
/// and "--stop" of any server program. One per process, created on the main thread before any other
/// thread.
class StopSignal {
  public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Waits for `longest` at most, which may be zero, or until wake(); true when the program is to
    /// end. On Linux one signal is reported once.
    bool wait(std::chrono::milliseconds longest);
    /// Ends the wait that is under way, or the next one. Any thread.
    void wake();

    /// True once the system gives the program only seconds to end: at the end of a Windows session,
    /// or when a Windows console is closed. Any thread.
    static bool isUrgent();
    /// Makes it so, for a program whose own window hears of it first.
    static void makeUrgent();
};

}  // namespace Orvane
