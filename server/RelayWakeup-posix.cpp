#include "server/RelayWakeup.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>

namespace Orvane {

struct RelayWakeup::Native {
    // Not one for each job: to close it takes the kernel some 15 ms, and the next master waits.
    int events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    int folder = -1;

    ~Native() {
        if (events >= 0)
            close(events);
    }

    void forgetEvents() const {
        std::array<char, 4096> buffer;
        while (read(events, buffer.data(), buffer.size()) > 0) {
        }
    }
};

RelayWakeup::RelayWakeup(DrLog& target) : log(target), native(new Native) {}
RelayWakeup::~RelayWakeup() = default;

bool RelayWakeup::startWatching(const String& folder) {
    // Not at a file's creation: it is finished when it is closed or renamed into place.
    native->folder =
        inotify_add_watch(native->events, toAnsi(folder).c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
    return native->folder >= 0;
}

void RelayWakeup::stopWatching() {
    inotify_rm_watch(native->events, native->folder);
}

bool RelayWakeup::wait(const Connection& master, const Connection& plugin,
                       std::chrono::milliseconds longest) {
    // A negative descriptor is passed over.
    std::array<pollfd, 3> waited = {{{static_cast<int>(master.handle()), POLLIN, 0},
                                     {static_cast<int>(plugin.handle()), POLLIN, 0},
                                     {native->events, POLLIN, 0}}};
    poll(waited.data(), waited.size(), static_cast<int>(longest.count()));
    if (waited[2].revents != 0)
        native->forgetEvents();
    return waited[0].revents != 0;
}

}  // namespace Orvane
