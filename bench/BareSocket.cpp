#include "bench/BareSocket.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Bench {

namespace {

constexpr std::size_t chunkBytes = 0x10000;

sockaddr_in loopbackAt(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

Descriptor streamSocket() {
    Descriptor made(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    const int on = 1;
    setsockopt(made.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    return made;
}

bool tryConnect(const Descriptor& socket, unsigned short port) {
    const sockaddr_in address = loopbackAt(port);
    return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

std::size_t receiveSome(const Descriptor& socket, void* buffer, std::size_t size) {
    return static_cast<std::size_t>(
        checked(static_cast<int>(recv(socket.get(), buffer, size, 0)), "recv"));
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

int Descriptor::release() {
    return std::exchange(descriptor, -1);
}

void Descriptor::close() {
    if (descriptor >= 0)
        ::close(release());
}

int checked(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

Descriptor listenOn(unsigned short port) {
    Descriptor listener = streamSocket();
    const sockaddr_in address = loopbackAt(port);
    checked(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            "bind");
    checked(listen(listener.get(), 5), "listen");
    return listener;
}

Descriptor acceptFrom(const Descriptor& listener) {
    return Descriptor(checked(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept"));
}

Descriptor connectTo(unsigned short port) {
    Descriptor socket = streamSocket();
    checked(tryConnect(socket, port) ? 0 : -1, "connect");
    return socket;
}

bool isListening(unsigned short port) {
    return tryConnect(streamSocket(), port);
}

void sendAll(const Descriptor& socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        bytes.remove_prefix(static_cast<std::size_t>(checked(static_cast<int>(sent), "send")));
    }
}

void receiveAll(const Descriptor& socket, void* buffer, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const std::size_t got = receiveSome(socket, static_cast<char*>(buffer) + done, size - done);
        if (got == 0)
            throw std::system_error(ECONNRESET, std::generic_category(), "end of stream");
        done += got;
    }
}

void receiveAway(const Descriptor& socket, std::size_t size) {
    std::array<char, chunkBytes> chunk;
    for (; size > 0; size -= std::min(size, chunk.size()))
        receiveAll(socket, chunk.data(), std::min(size, chunk.size()));
}

std::string receiveMessage(const Descriptor& socket) {
    std::string text;
    for (char byte = 0; receiveSome(socket, &byte, 1) == 1 && byte != 0;)
        text += byte;
    return text;
}

void awaitEnd(const Descriptor& socket) {
    std::array<char, chunkBytes> chunk;
    while (receiveSome(socket, chunk.data(), chunk.size()) > 0) {
    }
}

}  // namespace Bench
