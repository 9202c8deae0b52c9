#include "server/HostRun.h"

#include <chrono>

#include "OrvaneCore/CommandInterpreter.h"
#include "OrvaneCore/Stopwatch.h"

namespace Orvane {

void HostRun::start(const String& commandLine) {
    line = commandLine;
    maxInvoker.run([](void* self) { static_cast<HostRun*>(self)->runLine(); }, this);
}

void HostRun::runLine() {
    if (runCommand(line) < 0)
        log.log("Cannot start the command interpreter");
}

void HostRun::waitForEnd() {
    constexpr std::chrono::seconds firstNotice{30};
    constexpr std::chrono::minutes laterNotices{10};
    const Stopwatch watch;
    std::chrono::milliseconds patience = firstNotice;
    while (!maxInvoker.waitUntilParked(patience)) {
        log.log(String("Still waiting for 3ds max to end, for ") + watch.secondsText() +
                " s; no other master is served until it does");
        patience = laterNotices;
    }
}

}  // namespace Orvane
