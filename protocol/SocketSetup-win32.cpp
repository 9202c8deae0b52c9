#include "protocol/SocketSetup.h"

// winsock2.h must come before mstcpip.h.
#include <winsock2.h>

#include <mstcpip.h>

#include "protocol/Timeouts.h"

namespace Orvane::SocketSetup {

namespace {

// Not in the compiler's headers.
constexpr DWORD reportAbsentPeers = _WSAIOW(IOC_VENDOR, 12);     // SIO_UDP_CONNRESET
constexpr DWORD reportAbsentNetworks = _WSAIOW(IOC_VENDOR, 15);  // SIO_UDP_NETRESET

SOCKET native(SocketHandle socket) {
    return static_cast<SOCKET>(socket);
}

SocketHandle open(int type, int protocol) {
    return static_cast<SocketHandle>(WSASocketW(AF_INET, type, protocol, nullptr, 0,
                                                WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT));
}

void setOption(SocketHandle socket, int level, int name, int value) {
    setsockopt(native(socket), level, name, reinterpret_cast<const char*>(&value), sizeof(value));
}

void switchOff(SocketHandle socket, DWORD report) {
    BOOL on = FALSE;
    DWORD returned = 0;
    WSAIoctl(native(socket), report, &on, sizeof(on), nullptr, 0, &returned, nullptr, nullptr);
}

}  // namespace

SocketHandle openStream() {
    return open(SOCK_STREAM, IPPROTO_TCP);
}

SocketHandle openDatagram() {
    return open(SOCK_DGRAM, IPPROTO_UDP);
}

SocketHandle accept(SocketHandle listener) {
    const SOCKET accepted = ::accept(native(listener), nullptr, nullptr);
    if (accepted == INVALID_SOCKET)
        return noSocket;
    // Nothing else can be had for a socket that the system makes. A child that is started between
    // the two calls names what it inherits.
    SetHandleInformation(reinterpret_cast<HANDLE>(accepted), HANDLE_FLAG_INHERIT, 0);
    return static_cast<SocketHandle>(accepted);
}

void claimPort(SocketHandle listener) {
    // Address reuse would let a second program take the port over; this keeps those out, too, that
    // ask for it. A port is free here as soon as its listener is closed.
    setOption(listener, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1);
}

void tuneConnection(SocketHandle connection) {
    setOption(connection, IPPROTO_TCP, TCP_NODELAY, 1);
    tcp_keepalive keepAlive{1, 1000 * Timeouts::keepAliveIdleSeconds,
                            1000 * Timeouts::keepAlivePeriodSeconds};  // milliseconds
    DWORD returned = 0;
    WSAIoctl(native(connection), SIO_KEEPALIVE_VALS, &keepAlive, sizeof(keepAlive), nullptr, 0,
             &returned, nullptr, nullptr);
}

int moreFollowsFlag() {
    return 0;
}

void ignoreAbsentPeers(SocketHandle datagramSocket) {
    switchOff(datagramSocket, reportAbsentPeers);
    switchOff(datagramSocket, reportAbsentNetworks);
}

}  // namespace Orvane::SocketSetup
