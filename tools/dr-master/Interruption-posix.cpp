#include "Interruption.h"

#include <csignal>
#include <thread>

namespace Orvane {

namespace {

constexpr int endOfWaiting = SIGUSR2;

/// Who started this program may have seen to it that it ignores some, as nohup does.
bool isIgnored(int number) {
    struct sigaction action {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t awaitedSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, endOfWaiting})
        if (number == endOfWaiting || !isIgnored(number))
            sigaddset(&set, number);
    return set;
}

void awaitSignals() {
    const sigset_t set = awaitedSignals();
    for (int number = 0; sigwait(&set, &number) == 0 && number != endOfWaiting;)
        Interruption::come();
}

}  // namespace

struct Interruption::Native {
    sigset_t before{};
    std::thread waiting;
};

Interruption::Interruption() : native(std::make_unique<Native>()) {
    // Inherited by every later thread, so that only the one that waits takes them.
    const sigset_t set = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &set, &native->before);
    native->waiting = std::thread(awaitSignals);
}

Interruption::~Interruption() {
    pthread_kill(native->waiting.native_handle(), endOfWaiting);
    native->waiting.join();
    pthread_sigmask(SIG_SETMASK, &native->before, nullptr);
}

}  // namespace Orvane
