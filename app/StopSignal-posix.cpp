#include "app/StopSignal.h"

#include <csignal>

namespace Orvane {

namespace {

sigset_t stopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    // Under nohup the loss of the terminal is to be ignored.
    struct sigaction hangup {};
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

StopSignal::StopSignal() {
    const sigset_t set = stopSignals();
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
    const sigset_t set = stopSignals();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(longest);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(longest - seconds).count()};
    return sigtimedwait(&set, nullptr, &limit) > 0;
}

}  // namespace Orvane
