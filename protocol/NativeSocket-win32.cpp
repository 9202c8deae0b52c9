#include "protocol/NativeSocket.h"

// winsock2.h must come before anything that includes windows.h, and mstcpip.h behind it.
#include <winsock2.h>

#include <mstcpip.h>
#include <wx/socket.h>

#include <algorithm>
#include <limits>

namespace Orvane::NativeSocket {

namespace {

SOCKET native(Handle socket) {
    return static_cast<SOCKET>(socket);
}

int callSize(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

Transfer outcomeOf(int result) {
    if (result > 0)
        return {Outcome::Moved, static_cast<std::size_t>(result)};
    if (result == 0)
        return {Outcome::Ended, 0};
    const int error = WSAGetLastError();
    if (error == WSAEMSGSIZE)  // a datagram that is longer than the buffer
        return {Outcome::Moved, 1};
    return {error == WSAEWOULDBLOCK ? Outcome::WouldBlock : Outcome::Failed, 0};
}

bool waitFor(Handle socket, bool reading, std::chrono::milliseconds longest) {
    fd_set waited;
    FD_ZERO(&waited);
    FD_SET(native(socket), &waited);
    const auto milliseconds = std::max<long long>(longest.count(), 0);
    timeval limit{static_cast<long>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000 * 1000)};
    return select(0, reading ? &waited : nullptr, reading ? nullptr : &waited, nullptr, &limit) > 0;
}

void setOption(Handle socket, int level, int name, int value) {
    setsockopt(native(socket), level, name, reinterpret_cast<const char*>(&value), sizeof(value));
}

}  // namespace

void startUp() {
    WSADATA description;
    WSAStartup(MAKEWORD(2, 2), &description);
}

Transfer receive(Handle socket, void* buffer, std::size_t size) {
    return outcomeOf(recv(native(socket), static_cast<char*>(buffer), callSize(size), 0));
}

Transfer peek(Handle socket, void* buffer, std::size_t size) {
    return outcomeOf(recv(native(socket), static_cast<char*>(buffer), callSize(size), MSG_PEEK));
}

Transfer send(Handle socket, const void* bytes, std::size_t size) {
    return outcomeOf(::send(native(socket), static_cast<const char*>(bytes), callSize(size), 0));
}

Transfer sendTo(Handle socket, const void* bytes, std::size_t size, const void* address,
                std::size_t addressSize) {
    return outcomeOf(sendto(native(socket), static_cast<const char*>(bytes), callSize(size), 0,
                            static_cast<const sockaddr*>(address), callSize(addressSize)));
}

bool waitReadable(Handle socket, std::chrono::milliseconds longest) {
    return waitFor(socket, true, longest);
}

bool waitWritable(Handle socket, std::chrono::milliseconds longest) {
    return waitFor(socket, false, longest);
}

void endSending(Handle socket) {
    shutdown(native(socket), SD_SEND);
}

void resetOnClose(Handle socket, bool on) {
    const linger atOnce{static_cast<u_short>(on ? 1 : 0), 0};
    setsockopt(native(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce),
               sizeof(atOnce));
}

int streamFlags() {
    return wxSOCKET_WAITALL;
}

int datagramFlags() {
    return wxSOCKET_NOWAIT;
}

int listenerFlags() {
    // No address reuse: here it would let a second program take the port over.
    return streamFlags();
}

void isolate(Handle socket) {
    SetHandleInformation(reinterpret_cast<HANDLE>(native(socket)), HANDLE_FLAG_INHERIT, 0);
    // Ends the toolkit's window messages for this socket, then restores what they imply.
    WSAEventSelect(native(socket), nullptr, 0);
    u_long nonBlocking = 1;
    ioctlsocket(native(socket), FIONBIO, &nonBlocking);
}

void tuneConnection(Handle socket) {
    setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    tcp_keepalive keepAlive{1, 60000, 10000};  // milliseconds; ten probes are Windows' own number
    DWORD returned = 0;
    WSAIoctl(native(socket), SIO_KEEPALIVE_VALS, &keepAlive, sizeof(keepAlive), nullptr, 0,
             &returned, nullptr, nullptr);
}

}  // namespace Orvane::NativeSocket
