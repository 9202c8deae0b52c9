#include "protocol/Connection.h"

#include <wx/socket.h>

#include <algorithm>
#include <array>

#include "protocol/ToolkitText.h"

namespace Orvane {

namespace {

using Clock = Connection::Clock;
using NativeSocket::Outcome;

std::chrono::milliseconds until(Clock::time_point deadline) {
    return std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
}

String addressOfPeer(const wxSocketBase& socket) {
    wxIPV4address address;
    return socket.GetPeer(address) ? fromToolkit(address.IPAddress()) : String();
}

}  // namespace

Connection::Connection(wxSocketBase* connected)
    : socket(connected), peer(addressOfPeer(*connected)) {
    NativeSocket::isolate(handle());
    NativeSocket::tuneConnection(handle());
}

Connection::~Connection() {
    close();
}

std::unique_ptr<Connection> Connection::connect(const String& host, unsigned short port,
                                                int timeoutSeconds) {
    wxIPV4address address;
    if (!address.Hostname(toToolkit(host)) || !address.Service(port))
        return nullptr;
    auto client = std::make_unique<wxSocketClient>(wxSOCKET_NONE);
    client->SetTimeout(timeoutSeconds);
    if (!client->Connect(address, true))
        return nullptr;
    return std::make_unique<Connection>(client.release());
}

NativeSocket::Handle Connection::handle() const {
    return static_cast<NativeSocket::Handle>(socket->GetSocket());
}

bool Connection::endedBy(const NativeSocket::Transfer& transfer) {
    if (transfer.outcome == Outcome::Ended || transfer.outcome == Outcome::Failed)
        open = false;
    if (transfer.outcome == Outcome::Failed)
        broken = true;
    return !open;
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
    while (isAlive()) {
        const auto transfer = NativeSocket::receive(handle(), buffer, size);
        if (endedBy(transfer) || transfer.outcome == Outcome::Moved)
            return transfer.bytes;
        if (!NativeSocket::waitReadable(handle(), until(deadline)))
            break;
    }
    return 0;
}

std::size_t Connection::write(const void* bytes, std::size_t size) {
    const auto deadline = nextDeadline();
    std::size_t done = 0;
    while (isAlive() && done < size) {
        const auto transfer =
            NativeSocket::send(handle(), static_cast<const char*>(bytes) + done, size - done);
        done += transfer.bytes;
        if (endedBy(transfer))
            break;
        if (transfer.outcome == Outcome::WouldBlock &&
            !NativeSocket::waitWritable(handle(), until(deadline)))
            break;
    }
    return done;
}

std::size_t Connection::peek(void* buffer, std::size_t size, std::chrono::milliseconds longest) {
    const auto deadline = Clock::now() + longest;
    while (isAlive()) {
        const auto transfer = NativeSocket::peek(handle(), buffer, size);
        if (endedBy(transfer) || transfer.outcome == Outcome::Moved)
            return transfer.bytes;
        if (!NativeSocket::waitReadable(handle(), until(deadline)))
            return 0;
    }
    return 0;
}

void Connection::discardInput() {
    // A peer that floods may not keep the caller here.
    constexpr int mostChunks = 64;
    std::array<char, 4096> chunk;
    for (int i = 0; isAlive() && i < mostChunks; ++i) {
        const auto transfer = NativeSocket::receive(handle(), chunk.data(), chunk.size());
        if (endedBy(transfer) || transfer.outcome == Outcome::WouldBlock)
            return;
    }
}

void Connection::close() {
    open = false;
    // Deleted here and now: the toolkit's deferred destruction waits for an event loop on another
    // thread, and these sockets have no events that it would have to outlive.
    delete socket;
    socket = nullptr;
}

void Connection::closeAfterDelivery(std::chrono::milliseconds longest) {
    if (socket != nullptr && open) {
        NativeSocket::endSending(handle());
        const auto deadline = Clock::now() + longest;
        while (isAlive() && Clock::now() < deadline) {
            if (NativeSocket::waitReadable(handle(), until(deadline)))
                discardInput();
        }
    }
    close();
}

}  // namespace Orvane
