#pragma once

#include "protocol/SocketWait.h"

/// What systems do differently when sockets are made, and the networking library leaves to its
/// users. Nothing here throws.
namespace Orvane::SocketSetup {

/// Sockets that no child process inherits: a host that outlives the server must not keep its ports
/// or a master's connection. noSocket when the system has none left, or nobody connects any more.
SocketHandle openStream();
SocketHandle openDatagram();
SocketHandle accept(SocketHandle listener);

/// Before binding: a port that is in use cannot be bound, one that was in use a moment ago can.
void claimPort(SocketHandle listener);

/// Small messages leave at once, and a peer whose machine died without a word is found out in about
/// two minutes.
void tuneConnection(SocketHandle connection);

/// Of a send whose bytes may wait for those of the next one, to leave with them; 0 where there is
/// no such flag.
int moreFollowsFlag();

/// An earlier datagram that nobody took is no error of the next receive.
void ignoreAbsentPeers(SocketHandle datagramSocket);

}  // namespace Orvane::SocketSetup
