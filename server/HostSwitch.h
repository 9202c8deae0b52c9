#pragma once

#include <mutex>

#include "OrvaneCore/CommandInterpreter.h"

namespace Orvane {

/// Ends the host that runs, and every later one as soon as it starts: for a program that has only
/// seconds left. Any thread.
class HostSwitch {
  public:
    /// What the log says when it is used.
    static constexpr const char* line = "Ending 3ds max: there are only seconds left";

    /// True when a host was running, and only the first time.
    bool turnOff();
    bool isOff() const;

    /// The host that runs from now on, or null. It must be there until the next call.
    void setHost(Command* command);

  private:
    mutable std::mutex lock;
    Command* host = nullptr;  // guarded by lock
    bool off = false;         // guarded by lock
};

}  // namespace Orvane
