#pragma once

#include <chrono>

/// The events behind StopSignal: one of this process, and one that all servers of this computer
/// share, whichever session they run in.
namespace Orvane::StopEvents {

/// False for a service: who logs on or off is nothing to it. Set before create().
extern bool endWithSession;

/// Before the others; a second call does nothing. The shared event goes with the process and not
/// before: that it is there means that a server runs.
void create();

/// Asks this program to end, or only tells whether it has been asked in either way. Any thread.
void set();
bool areSet();

/// Waits for `longest` at most; true when a window message came before a stop event.
bool waitForMessage(std::chrono::milliseconds longest);

/// Whether a server of this computer runs already; before create().
bool aServerRuns();

enum class Outcome { NoneRuns, StillRunning, Forbidden };
/// Asks every server of this computer to end and waits until their processes have ended, for
/// `longest` at most. Administrators may do that, and the user whose server it is.
Outcome stopAll(std::chrono::seconds longest);

}  // namespace Orvane::StopEvents
