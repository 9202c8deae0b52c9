#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "input.h"
#include "protocol/Connection.h"

/// A connection on which a peer has sent these bytes and gone. On sockets of this machine's own
/// family: they need no port and leave none behind.
inline std::unique_ptr<Orvane::Connection> streamOf(std::string_view bytes) {
    std::array<int, 2> ends{};
    mustHold(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0);
    // What does not fit into the socket is not sent: more than a message or a chunk fits.
    const ssize_t sent = send(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
    mustHold(sent == static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    return std::make_unique<Orvane::Connection>(ends[0]);
}
