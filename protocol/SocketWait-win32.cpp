#include "protocol/SocketWait.h"

#include <winsock2.h>

#include <algorithm>
#include <system_error>
#include <vector>

#include "protocol/PollTime.h"
#include "protocol/SocketSetup.h"

namespace Orvane {

namespace {

SHORT eventsOf(WaitFor purpose) {
    switch (purpose) {
        case WaitFor::Input:
            return POLLRDNORM;
        case WaitFor::Room:
            return POLLWRNORM;
        case WaitFor::End:  // is told without being asked for
            return 0;
    }
    return 0;
}

SOCKET native(SocketHandle socket) {
    return static_cast<SOCKET>(socket);
}

/// Bound to this machine's own address and connected to itself: nobody else can send to it.
bool connectToItself(SOCKET socket) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    int size = sizeof(address);
    u_long nonBlocking = 1;
    return bind(socket, name, size) == 0 && getsockname(socket, name, &size) == 0 &&
           connect(socket, name, size) == 0 && ioctlsocket(socket, FIONBIO, &nonBlocking) == 0;
}

}  // namespace

// The system's poll did not report failed attempts to connect for many years; nobody waits for
// those here.
bool waitForSockets(std::span<WaitedSocket> sockets, SocketClock::time_point deadline) {
    std::vector<WSAPOLLFD> waited;
    for (const WaitedSocket& socket : sockets)
        waited.push_back({native(socket.socket), eventsOf(socket.purpose), 0});
    for (;;) {
        const int result =
            WSAPoll(waited.data(), static_cast<ULONG>(waited.size()), millisecondsUntil(deadline));
        // An error is that of one of them: whoever uses it next is told.
        for (std::size_t i = 0; i < sockets.size(); ++i)
            sockets[i].ready = result == SOCKET_ERROR || waited[i].revents != 0;
        if (result != 0)
            return true;
        if (SocketClock::now() >= deadline)
            return false;
    }
}

WaitSignal::WaitSignal() : socket(SocketSetup::openDatagram()) {
    if (socket != noSocket && connectToItself(native(socket)))
        return;
    const int error = WSAGetLastError();
    closesocket(native(socket));
    throw std::system_error(error, std::system_category());
}

WaitSignal::~WaitSignal() {
    closesocket(native(socket));
}

void WaitSignal::set() {
    const char any = 0;
    send(native(socket), &any, sizeof(any), 0);
}

void WaitSignal::clear() {
    char any = 0;
    while (recv(native(socket), &any, sizeof(any), 0) > 0) {
    }
}

}  // namespace Orvane
