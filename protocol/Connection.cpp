#include "protocol/Connection.h"

#include <algorithm>
#include <array>
#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>

#include "protocol/FileSender.h"
#include "protocol/NetworkContext.h"
#include "protocol/Resolve.h"
#include "protocol/SocketSetup.h"

namespace Orvane {

namespace {

using asio::ip::tcp;
using Clock = Connection::Clock;

enum class Outcome {
    Moved,       ///< some bytes went through
    WouldBlock,  ///< none could go now
    Ended,       ///< the peer has ended its direction
    Failed       ///< the connection is broken
};

Outcome outcomeOf(const asio::error_code& error) {
    if (!error)
        return Outcome::Moved;
    if (error == asio::error::would_block || error == asio::error::try_again ||
        error == asio::error::interrupted)
        return Outcome::WouldBlock;
    return error == asio::error::eof ? Outcome::Ended : Outcome::Failed;
}

bool waitUntil(SocketHandle socket, WaitFor purpose, Clock::time_point deadline) {
    WaitedSocket waited{socket, purpose};
    return waitForSockets({&waited, 1}, deadline);
}

}  // namespace

struct Connection::Native {
    /// On the context that all sockets share.
    explicit Native(SocketHandle handle) : socket(networkContext()) { assign(handle); }
    /// On one of its own, which the connecting thread runs.
    explicit Native(std::unique_ptr<asio::io_context> context)
        : ownContext(std::move(context)), socket(*ownContext) {
        assign(SocketSetup::openStream());
    }

    void assign(SocketHandle handle) {
        asio::error_code ignored;
        socket.assign(tcp::v4(), static_cast<tcp::socket::native_handle_type>(handle), ignored);
        socket.non_blocking(true, ignored);
    }

    bool connect(const tcp::endpoint& endpoint, std::chrono::seconds longest) {
        asio::error_code result = asio::error::timed_out;
        socket.async_connect(endpoint,
                             [&result](const asio::error_code& error) { result = error; });
        ownContext->run_for(longest);
        if (!result)
            return true;
        // What is still under way ends with the socket, and says so while `result` is there.
        asio::error_code ignored;
        socket.close(ignored);
        ownContext->run();
        return false;
    }

    String peerAddress() const {
        asio::error_code error;
        const auto endpoint = socket.remote_endpoint(error);
        return error ? String() : String(endpoint.address().to_string());
    }

    std::unique_ptr<asio::io_context> ownContext;
    tcp::socket socket;
};

Connection::Connection(SocketHandle connected) : Connection(std::make_unique<Native>(connected)) {}

Connection::Connection(std::unique_ptr<Native> connected)
    : native(std::move(connected)), peer(native->peerAddress()) {
    SocketSetup::tuneConnection(handle());
}

Connection::~Connection() {
    close();
}

std::unique_ptr<Connection> Connection::connect(const String& host, unsigned short port,
                                                int timeoutSeconds) {
    const auto address = resolve(host);
    if (!address)
        return nullptr;
    const tcp::endpoint endpoint(asio::ip::make_address(toAnsi(*address)), port);
    auto native = std::make_unique<Native>(std::make_unique<asio::io_context>());
    if (!native->socket.is_open() ||
        !native->connect(endpoint, std::chrono::seconds(timeoutSeconds)))
        return nullptr;
    return std::unique_ptr<Connection>(new Connection(std::move(native)));
}

SocketHandle Connection::handle() const {
    return native == nullptr ? noSocket : static_cast<SocketHandle>(native->socket.native_handle());
}

void Connection::end(bool byError) {
    open = false;
    broken = broken || byError;
}

std::size_t Connection::read(void* buffer, std::size_t size) {
    const auto deadline = nextDeadline();
    std::size_t done = 0;
    while (done < size) {
        const std::size_t got = readSome(static_cast<char*>(buffer) + done, size - done, deadline);
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

std::size_t Connection::readSome(void* buffer, std::size_t size, Clock::time_point deadline) {
    return receive(buffer, size, 0, deadline);
}

std::size_t Connection::peek(void* buffer, std::size_t size, std::chrono::milliseconds longest) {
    return receive(buffer, size, tcp::socket::message_peek, Clock::now() + longest);
}

std::size_t Connection::receive(void* buffer, std::size_t size, int flags,
                                Clock::time_point deadline) {
    while (isAlive()) {
        asio::error_code error;
        const std::size_t got = native->socket.receive(asio::buffer(buffer, size), flags, error);
        const Outcome outcome = outcomeOf(error);
        if (outcome == Outcome::Moved)
            return got;
        if (outcome != Outcome::WouldBlock)
            end(outcome == Outcome::Failed);
        else if (Clock::now() >= deadline || !waitUntil(handle(), WaitFor::Input, deadline))
            break;
    }
    return 0;
}

std::size_t Connection::write(const void* bytes, std::size_t size) {
    return writeAll(bytes, size, 0);
}

std::size_t Connection::writeHead(const void* bytes, std::size_t size) {
    return writeAll(bytes, size, SocketSetup::moreFollowsFlag());
}

std::size_t Connection::writeAll(const void* bytes, std::size_t size, int flags) {
    const auto deadline = nextDeadline();
    std::size_t done = 0;
    while (done < size) {
        const char* const rest = static_cast<const char*>(bytes) + done;
        const std::size_t sent = send(rest, size - done, flags, deadline);
        if (sent == 0)
            break;
        done += sent;
    }
    return done;
}

std::size_t Connection::writeSome(const void* bytes, std::size_t size, Clock::time_point deadline) {
    return send(bytes, size, 0, deadline);
}

std::size_t Connection::send(const void* bytes, std::size_t size, int flags,
                             Clock::time_point deadline) {
    while (isAlive()) {
        asio::error_code error;
        const std::size_t sent = native->socket.send(asio::buffer(bytes, size), flags, error);
        const Outcome outcome = outcomeOf(error);
        if (outcome == Outcome::Moved)
            return sent;
        if (outcome != Outcome::WouldBlock)
            end(outcome == Outcome::Failed);
        else if (!waitUntil(handle(), WaitFor::Room, deadline))
            break;
    }
    return 0;
}

std::size_t Connection::sendSome(std::FILE* file, std::size_t most, Clock::time_point deadline) {
    while (isAlive()) {
        const DirectSend result = sendDirectly(handle(), file, most);
        if (!result.wouldBlock)
            return result.bytes;
        if (!waitUntil(handle(), WaitFor::Room, deadline))
            break;
    }
    return 0;
}

void Connection::discardInput() {
    // A peer that floods may not keep the caller here.
    constexpr int mostChunks = 64;
    std::array<char, 4096> chunk;
    for (int i = 0; i < mostChunks; ++i)
        if (readSome(chunk.data(), chunk.size(), Clock::now()) == 0)
            return;
}

void Connection::resetOnClose(bool on) {
    asio::error_code ignored;
    if (native != nullptr)
        native->socket.set_option(asio::socket_base::linger(on, 0), ignored);
}

void Connection::close() {
    open = false;
    if (native == nullptr)
        return;
    // Not left to the socket's end, which would undo resetOnClose().
    asio::error_code ignored;
    native->socket.close(ignored);
    native.reset();
}

void Connection::closeAfterDelivery(std::chrono::milliseconds longest) {
    if (isAlive()) {
        asio::error_code ignored;
        native->socket.shutdown(tcp::socket::shutdown_send, ignored);
        const auto deadline = Clock::now() + longest;
        while (isAlive() && Clock::now() < deadline) {
            if (waitUntil(handle(), WaitFor::Input, deadline))
                discardInput();
        }
    }
    close();
}

}  // namespace Orvane
