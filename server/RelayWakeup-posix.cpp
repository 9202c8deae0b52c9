#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>

#include "server/RelayWakeup.h"

namespace Orvane {

struct RelayWakeup::Native {
    int events = -1;

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

RelayWakeup::RelayWakeup(const String& folder) : native(new Native) {
    native->events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Not at a file's creation: it is finished when it is closed or renamed into place.
    inotify_add_watch(native->events, toAnsi(folder).c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
}

RelayWakeup::~RelayWakeup() = default;

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
