#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <wx/socket.h>

#include "input.h"
#include "protocol/Connection.h"
#include "protocol/SocketLibrary.h"

/// A connection on which a peer has sent these bytes and gone. On a socket of this machine's own
/// family: it needs no port and leaves none behind.
inline std::unique_ptr<Orvane::Connection> streamOf(std::string_view bytes) {
    static const Orvane::SocketLibrary sockets;
    static const std::string path = "/tmp/fuzz-stream-" + std::to_string(getpid());
    static wxUNIXaddress address;
    static wxSocketServer* const listener = [] {
        address.Filename(path);
        return new wxSocketServer(address, Orvane::NativeSocket::streamFlags());
    }();
    sockaddr_un name{AF_UNIX, {}};
    path.copy(name.sun_path, sizeof(name.sun_path) - 1);
    const int peer = socket(AF_UNIX, SOCK_STREAM, 0);
    mustHold(connect(peer, reinterpret_cast<const sockaddr*>(&name), sizeof(name)) == 0);
    auto accepted =
        std::make_unique<wxSocketBase>(Orvane::NativeSocket::streamFlags(), wxSOCKET_BASE);
    mustHold(listener->AcceptWith(*accepted, true));
    // What does not fit into the socket is not sent: more than a message or a chunk fits.
    const ssize_t sent = send(peer, bytes.data(), bytes.size(), MSG_DONTWAIT);
    mustHold(sent == static_cast<ssize_t>(bytes.size()));
    close(peer);
    return std::make_unique<Orvane::Connection>(accepted.release());
}
