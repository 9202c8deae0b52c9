#include "protocol/SocketWait.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

#include "protocol/PollTime.h"

namespace Orvane {

namespace {

short eventsOf(WaitFor purpose) {
    switch (purpose) {
        case WaitFor::Input:
            return POLLIN;
        case WaitFor::Room:
            return POLLOUT;
        case WaitFor::End:
            return POLLRDHUP;
    }
    return 0;
}

bool pollUntil(std::span<pollfd> waited, SocketClock::time_point deadline) {
    for (;;) {
        const int result = poll(waited.data(), waited.size(), millisecondsUntil(deadline));
        if (result > 0)
            return true;
        const bool interrupted = result < 0 && errno == EINTR;
        if (!interrupted && SocketClock::now() >= deadline)
            return false;
    }
}

}  // namespace

bool waitForSockets(std::span<WaitedSocket> sockets, SocketClock::time_point deadline) {
    // Most waits are for one: those take no memory.
    std::array<pollfd, 1> single;
    std::vector<pollfd> several(sockets.size() > single.size() ? sockets.size() : 0);
    const std::span<pollfd> waited =
        several.empty() ? std::span<pollfd>(single).first(sockets.size()) : several;
    for (std::size_t i = 0; i < sockets.size(); ++i)
        waited[i] = {static_cast<int>(sockets[i].socket), eventsOf(sockets[i].purpose), 0};
    const bool any = pollUntil(waited, deadline);
    for (std::size_t i = 0; i < sockets.size(); ++i)
        sockets[i].ready = waited[i].revents != 0;
    return any;
}

WaitSignal::WaitSignal() : socket(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (socket == noSocket)
        throw std::system_error(errno, std::generic_category());
}

WaitSignal::~WaitSignal() {
    close(static_cast<int>(socket));
}

void WaitSignal::set() {
    eventfd_write(static_cast<int>(socket), 1);
}

void WaitSignal::clear() {
    eventfd_t count = 0;
    eventfd_read(static_cast<int>(socket), &count);
}

}  // namespace Orvane
