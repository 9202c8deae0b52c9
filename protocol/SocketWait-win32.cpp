#include "protocol/SocketWait.h"

#include <winsock2.h>

#include <algorithm>
#include <vector>

namespace Orvane {

namespace {

/// What select() takes, with room for any number: the system goes by the count, whatever size its
/// header gives the array. WSAPoll() has no such limit either, but did not report failed
/// connections for many years.
class SocketSet {
  public:
    explicit SocketSet(std::size_t most) : words(most + 1) {}

    void add(SocketHandle socket) { words[++words[0]] = static_cast<SOCKET>(socket); }
    bool contains(SocketHandle socket) const {
        const auto end = words.begin() + 1 + static_cast<std::ptrdiff_t>(words[0]);
        return std::find(words.begin() + 1, end, static_cast<SOCKET>(socket)) != end;
    }
    /// Null when there is none, as the system wants it.
    fd_set* native() { return words[0] == 0 ? nullptr : reinterpret_cast<fd_set*>(words.data()); }

  private:
    static_assert(offsetof(fd_set, fd_array) == sizeof(SOCKET));
    std::vector<SOCKET> words;  // the count, then the sockets
};

timeval timeUntil(SocketClock::time_point deadline) {
    using std::chrono::microseconds;
    constexpr microseconds longest = std::chrono::hours(24);
    constexpr microseconds::rep second = 1000000;
    const auto now = SocketClock::now();
    if (deadline <= now)
        return {0, 0};
    const auto left = std::min(std::chrono::ceil<microseconds>(deadline - now), longest);
    return {static_cast<long>(left.count() / second), static_cast<long>(left.count() % second)};
}

}  // namespace

bool waitForSockets(std::span<WaitedSocket> sockets, SocketClock::time_point deadline) {
    for (;;) {
        SocketSet readable(sockets.size());
        SocketSet writable(sockets.size());
        SocketSet failed(sockets.size());
        for (const WaitedSocket& waited : sockets) {
            (waited.forWriting ? writable : readable).add(waited.socket);
            if (waited.forWriting)  // a connection that could not be made
                failed.add(waited.socket);
        }
        timeval limit = timeUntil(deadline);
        const int result = select(0, readable.native(), writable.native(), failed.native(), &limit);
        // An error is that of one of them: whoever uses it next is told.
        for (WaitedSocket& waited : sockets)
            waited.ready = result == SOCKET_ERROR || readable.contains(waited.socket) ||
                           writable.contains(waited.socket) || failed.contains(waited.socket);
        if (result != 0)
            return true;
        if (SocketClock::now() >= deadline)
            return false;
    }
}

}  // namespace Orvane
