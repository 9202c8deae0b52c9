#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

/// The few calls on a socket's descriptor that the toolkit's sockets do not offer with the same
/// meaning on both platforms: waits that end when they should, and a look at what has arrived.
/// The toolkit opens, binds, accepts and closes; the bytes go through here. Nothing here throws;
/// each socket is used by one thread at a time.
namespace Orvane::NativeSocket {

using Handle = std::intptr_t;

/// Starts the system's sockets, if need be, for as long as the process lives. The toolkit does it
/// itself only where it can also create a window, which a program without a display may not.
void startUp();

enum class Outcome {
    Moved,       ///< some bytes went through
    WouldBlock,  ///< none could go now
    Ended,       ///< the peer has ended its direction
    Failed       ///< the connection is broken
};

struct Transfer {
    Outcome outcome = Outcome::Failed;
    std::size_t bytes = 0;  ///< with Moved: how many, at least one
};

/// All return at once.
Transfer receive(Handle socket, void* buffer, std::size_t size);
/// Leaves what it shows in the socket.
Transfer peek(Handle socket, void* buffer, std::size_t size);
Transfer send(Handle socket, const void* bytes, std::size_t size);
/// One datagram; `address` is a socket address in the system's form.
Transfer sendTo(Handle socket, const void* bytes, std::size_t size, const void* address,
                std::size_t addressSize);

/// True as soon as receive (or accept) or send would not block, an end or an error included.
bool waitReadable(Handle socket, std::chrono::milliseconds longest);
bool waitWritable(Handle socket, std::chrono::milliseconds longest);

void endSending(Handle socket);

/// While this is on, a close, and the end of the process too, resets the connection: the peer's
/// next write to it fails.
void resetOnClose(Handle socket, bool on);

/// The toolkit flags with which a socket may be used by a worker thread beside a window's event
/// loop: it must not register itself with that loop.
int streamFlags();
int datagramFlags();
/// What a listening socket adds to them.
int listenerFlags();

/// To be called on every new socket: no child process inherits it, and the toolkit's event loop is
/// told nothing of it.
void isolate(Handle socket);
/// To be called on every connection: small messages leave at once, and a peer whose machine died
/// without a word is found out in about two minutes.
void tuneConnection(Handle socket);

}  // namespace Orvane::NativeSocket
