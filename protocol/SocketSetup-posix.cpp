#include "protocol/SocketSetup.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "protocol/Timeouts.h"

namespace Orvane::SocketSetup {

namespace {

constexpr int flags = SOCK_CLOEXEC | SOCK_NONBLOCK;

void setOption(SocketHandle socket, int level, int name, int value) {
    setsockopt(static_cast<int>(socket), level, name, &value, sizeof(value));
}

}  // namespace

SocketHandle openStream() {
    return socket(AF_INET, SOCK_STREAM | flags, IPPROTO_TCP);
}

SocketHandle openDatagram() {
    return socket(AF_INET, SOCK_DGRAM | flags, IPPROTO_UDP);
}

SocketHandle accept(SocketHandle listener) {
    return accept4(static_cast<int>(listener), nullptr, nullptr, flags);
}

void claimPort(SocketHandle listener) {
    // A listener that closed a connection first could otherwise not be bound again for a minute.
    // Two listeners still never share a port.
    setOption(listener, SOL_SOCKET, SO_REUSEADDR, 1);
}

void tuneConnection(SocketHandle connection) {
    setOption(connection, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(connection, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(connection, IPPROTO_TCP, TCP_KEEPIDLE, Timeouts::keepAliveIdleSeconds);
    setOption(connection, IPPROTO_TCP, TCP_KEEPINTVL, Timeouts::keepAlivePeriodSeconds);
    setOption(connection, IPPROTO_TCP, TCP_KEEPCNT, Timeouts::keepAliveProbes);
}

int moreFollowsFlag() {
    return MSG_MORE;
}

void ignoreAbsentPeers(SocketHandle) {
    // The system tells sockets without a fixed peer nothing of them.
}

}  // namespace Orvane::SocketSetup
