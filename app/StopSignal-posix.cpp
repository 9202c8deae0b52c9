#include "app/StopSignal.h"

#include <unistd.h>

#include <csignal>

namespace Orvane {

namespace {

// Does nothing in a program that does not wait for it, whoever sends it.
constexpr int wakeSignal = SIGURG;

sigset_t awaitedSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, wakeSignal);
    // Under nohup the loss of the terminal is to be ignored.
    struct sigaction hangup {};
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

StopSignal::StopSignal() {
    const sigset_t set = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // Standard output may go to a program that ends first.
    std::signal(SIGPIPE, SIG_IGN);
    // A file beyond the size that the system allows this user is a failed write, as a full disk is.
    std::signal(SIGXFSZ, SIG_IGN);
}

StopSignal::~StopSignal() = default;

// Linux says how long a program may take where it is told to start it.
bool StopSignal::isUrgent() {
    return false;
}

void StopSignal::makeUrgent() {}

bool StopSignal::wait(std::chrono::milliseconds longest) {
    const sigset_t set = awaitedSignals();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(longest);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(longest - seconds).count()};
    const int signal = sigtimedwait(&set, nullptr, &limit);
    return signal > 0 && signal != wakeSignal;
}

void StopSignal::wake() {
    kill(getpid(), wakeSignal);
}

}  // namespace Orvane
