#include "server/HostRun.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "OrvaneCore/Str.h"

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
    const auto priority =
        config.hostHasLowPriority ? Command::Priority::Low : Command::Priority::Normal;
    output = std::make_unique<HostOutput>(outputPath);
    command = std::make_unique<Command>(line, priority,
                                        [this](std::string_view bytes) { output->take(bytes); });
    hostEnd.clear();
    hostSwitch.setHost(command.get());
    maxInvoker.run([](void* self) { static_cast<HostRun*>(self)->run(); }, this);
}

void HostRun::run() {
    outcome = command->run();
    hostSwitch.setHost(nullptr);
    output->write();
    hostEnd.set();
}

void HostRun::release() {
    if (!released)
        released.emplace();
}

bool HostRun::isRunning() {
    if (hasEnded(std::chrono::milliseconds::zero()))
        return false;
    keepAccount();
    return true;
}

void HostRun::waitForEnd() {
    release();
    while (!hasEnded(timeToNextStep()))
        keepAccount();
}

bool HostRun::hasEnded(std::chrono::milliseconds longest) {
    if (!maxInvoker.waitUntilParked(longest))
        return false;
    if (!std::exchange(endLogged, true))
        logEnd();
    return true;
}

bool HostRun::isPatienceOver() const {
    return config.hostPatience.count() > 0 && released->elapsed() >= config.hostPatience;
}

std::chrono::milliseconds HostRun::timeToNextStep() const {
    std::chrono::milliseconds step = nextNotice;
    if (config.hostPatience.count() > 0 && !ended)
        step = std::min<std::chrono::milliseconds>(step, config.hostPatience);
    return std::max(step - released->elapsed(), std::chrono::milliseconds(1));
}

void HostRun::keepAccount() {
    constexpr std::chrono::minutes betweenNotices{10};
    if (!released)
        return;
    if (!ended && isPatienceOver()) {
        ended = true;
        command->end();
    } else if (released->elapsed() >= nextNotice) {
        log.log(String("Still waiting for 3ds max to end, for ") + released->secondsText() +
                " s; no other master is served until it does");
        nextNotice += betweenNotices;
    }
}

void HostRun::logEnd() {
    const String line = endLine();
    if (!line.isEmpty())
        log.log(line);
    if (outcome.leftProcesses && !ended)
        log.log("Ended processes that 3ds max had left behind");
}

String HostRun::endLine() const {
    if (!outcome.hasStarted())
        return String("Cannot start the command interpreter: ") + outcome.startFailure;
    if (ended)
        return String("Ended 3ds max: it had not ended by itself for ") +
               Str::toWString(static_cast<std::int32_t>(config.hostPatience.count())) + " s";
    if (outcome.status != 0 && !hostSwitch.isOff())
        return String("3ds max ended with exit code ") + statusText(outcome.status);
    return {};
}

}  // namespace Orvane
