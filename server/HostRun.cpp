#include "server/HostRun.h"

#include <array>
#include <cstdio>
#include <utility>

#include "OrvaneCore/Stopwatch.h"

namespace Orvane {

namespace {

/// Windows' codes of crashes are known by their hexadecimal form.
String statusText(std::uint32_t status) {
    constexpr std::uint32_t firstOfTheSystem = 0x80000000;
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), status < firstOfTheSystem ? "%u" : "0x%08X",
                  static_cast<unsigned>(status));
    return text.data();
}

}  // namespace

void HostRun::start(const String& line, const String& outputPath) {
    output = std::make_unique<HostOutput>(outputPath);
    command = std::make_unique<Command>(line, Command::Priority::Normal,
                                        [this](std::string_view bytes) { output->take(bytes); });
    maxInvoker.run([](void* self) { static_cast<HostRun*>(self)->run(); }, this);
}

void HostRun::run() {
    outcome = command->run();
    output->write();
}

bool HostRun::isRunning() {
    return !hasEnded(std::chrono::milliseconds::zero());
}

void HostRun::waitForEnd() {
    constexpr std::chrono::seconds firstNotice{30};
    constexpr std::chrono::minutes laterNotices{10};
    const Stopwatch watch;
    std::chrono::milliseconds patience = firstNotice;
    while (!hasEnded(patience)) {
        log.log(String("Still waiting for 3ds max to end, for ") + watch.secondsText() +
                " s; no other master is served until it does");
        patience = laterNotices;
    }
}

bool HostRun::hasEnded(std::chrono::milliseconds longest) {
    if (!maxInvoker.waitUntilParked(longest))
        return false;
    if (!std::exchange(endLogged, true))
        logEnd();
    return true;
}

void HostRun::logEnd() {
    if (!outcome.hasStarted())
        log.log(String("Cannot start the command interpreter: ") + outcome.startFailure);
    else if (outcome.status != 0)
        log.log(String("3ds max ended with exit code ") + statusText(outcome.status));
    if (outcome.leftProcesses)
        log.log("Ended processes that 3ds max had left behind");
}

}  // namespace Orvane
