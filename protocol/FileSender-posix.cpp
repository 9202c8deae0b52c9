#include "protocol/FileSender.h"

#include <pthread.h>
#include <sys/sendfile.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace Orvane {

namespace {

/// sendfile() takes no flag against the signal that ends a process whose peer has gone, and not
/// every program ignores it.
class NoBrokenPipeSignal {
  public:
    NoBrokenPipeSignal() {
        sigemptyset(&brokenPipe);
        sigaddset(&brokenPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    }
    ~NoBrokenPipeSignal() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    NoBrokenPipeSignal(const NoBrokenPipeSignal&) = delete;
    NoBrokenPipeSignal& operator=(const NoBrokenPipeSignal&) = delete;

    void takeRaised() const {
        constexpr timespec now{};
        sigtimedwait(&brokenPipe, nullptr, &now);
    }

  private:
    sigset_t brokenPipe;
    sigset_t before;
};

}  // namespace

DirectSend sendDirectly(SocketHandle socket, std::FILE* file, std::size_t most) {
    const NoBrokenPipeSignal guard;
    const ssize_t moved = sendfile(static_cast<int>(socket), fileno(file), nullptr, most);
    const int error = moved < 0 ? errno : 0;
    // The peer may also have gone after the first bytes, which then are the answer.
    if (moved < static_cast<ssize_t>(most))
        guard.takeRaised();
    if (moved >= 0)
        return {static_cast<std::size_t>(moved), false};
    return {0, error == EAGAIN || error == EINTR};
}

}  // namespace Orvane
