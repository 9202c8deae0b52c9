#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// What the guard tells about the command interpreter, once.
struct GuardReport {
    std::int32_t startError;  ///< an errno; 0 if it was started
    std::int32_t waitStatus;  ///< as waitpid gives it; if it was started
};

/// A process between the server and a command's processes. It outlives the server for as long as it
/// takes to end every one of them, those included that have left their group, session or parent.
/// Both descriptors stay the caller's to close. The guard writes one GuardReport into its end of
/// the link and closes it when no process is left. It ends them all when the caller's end is shut
/// down for writing, or closed, by whatever end of the server. Answers the guard's process number
/// for waitpid, or -1 with errno set. Any thread.
int startTreeGuard(const std::string& line, bool lowPriority, int guardLink, int outputEnd);

}  // namespace Orvane
