#include "protocol/NativeSocket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <wx/socket.h>

#include <algorithm>
#include <cerrno>

namespace Orvane::NativeSocket {

namespace {

using Clock = std::chrono::steady_clock;

int descriptor(Handle socket) {
    return static_cast<int>(socket);
}

bool wouldBlock() {
    return errno == EAGAIN || errno == EINTR;
}

Transfer outcomeOf(ssize_t result) {
    if (result > 0)
        return {Outcome::Moved, static_cast<std::size_t>(result)};
    if (result == 0)
        return {Outcome::Ended, 0};
    return {wouldBlock() ? Outcome::WouldBlock : Outcome::Failed, 0};
}

bool waitFor(Handle socket, short events, std::chrono::milliseconds longest) {
    const auto deadline = Clock::now() + longest;
    pollfd waited{descriptor(socket), events, 0};
    for (;;) {
        // Rounded up, or the last millisecond would be spent spinning.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const int result = poll(&waited, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (result >= 0 || errno != EINTR)
            return result > 0;
    }
}

void setOption(Handle socket, int level, int name, int value) {
    setsockopt(descriptor(socket), level, name, &value, sizeof(value));
}

}  // namespace

void startUp() {}

Transfer receive(Handle socket, void* buffer, std::size_t size) {
    return outcomeOf(recv(descriptor(socket), buffer, size, MSG_DONTWAIT));
}

Transfer peek(Handle socket, void* buffer, std::size_t size) {
    return outcomeOf(recv(descriptor(socket), buffer, size, MSG_DONTWAIT | MSG_PEEK));
}

Transfer send(Handle socket, const void* bytes, std::size_t size) {
    return outcomeOf(::send(descriptor(socket), bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL));
}

Transfer sendTo(Handle socket, const void* bytes, std::size_t size, const void* address,
                std::size_t addressSize) {
    return outcomeOf(sendto(descriptor(socket), bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL,
                            static_cast<const sockaddr*>(address),
                            static_cast<socklen_t>(addressSize)));
}

bool waitReadable(Handle socket, std::chrono::milliseconds longest) {
    return waitFor(socket, POLLIN, longest);
}

bool waitWritable(Handle socket, std::chrono::milliseconds longest) {
    return waitFor(socket, POLLOUT, longest);
}

void endSending(Handle socket) {
    shutdown(descriptor(socket), SHUT_WR);
}

void resetOnClose(Handle socket, bool on) {
    const linger atOnce{on ? 1 : 0, 0};
    setsockopt(descriptor(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

int streamFlags() {
    return wxSOCKET_WAITALL | wxSOCKET_BLOCK;
}

int datagramFlags() {
    return wxSOCKET_BLOCK;
}

int listenerFlags() {
    // A listener that closed a connection first could otherwise not be bound again for a minute.
    // Two listeners still never share a port.
    return streamFlags() | wxSOCKET_REUSEADDR;
}

void isolate(Handle socket) {
    fcntl(descriptor(socket), F_SETFD, FD_CLOEXEC);
    // A connection may vanish between being announced and being accepted.
    fcntl(descriptor(socket), F_SETFL, O_NONBLOCK);
}

void tuneConnection(Handle socket) {
    setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, 60);
    setOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, 10);
    setOption(socket, IPPROTO_TCP, TCP_KEEPCNT, 6);
}

}  // namespace Orvane::NativeSocket
