#include "protocol/DatagramSocket.h"

#include <wx/socket.h>

#include "protocol/ToolkitText.h"

namespace Orvane {

namespace {

std::unique_ptr<wxDatagramSocket> open(unsigned short port) {
    wxIPV4address address;
    address.Hostname("0.0.0.0");
    address.Service(port);
    const int flags = NativeSocket::datagramFlags() | wxSOCKET_BROADCAST;
    return std::make_unique<wxDatagramSocket>(address, flags);
}

}  // namespace

DatagramSocket::DatagramSocket(unsigned short port)
    : socket(open(port)), sender(std::make_unique<wxIPV4address>()) {
    if (isOk())
        NativeSocket::isolate(handle());
}

DatagramSocket::~DatagramSocket() = default;

NativeSocket::Handle DatagramSocket::handle() const {
    return static_cast<NativeSocket::Handle>(socket->GetSocket());
}

bool DatagramSocket::isOk() const {
    return socket->IsOk();
}

String DatagramSocket::localAddress() const {
    wxIPV4address address;
    return socket->GetLocal(address) ? fromToolkit(address.IPAddress()) : String();
}

bool DatagramSocket::receive(void* buffer, std::size_t size) {
    // Not by waiting: a datagram with a wrong checksum ends the wait and is then not there, and the
    // toolkit would wait for the next one.
    using NativeSocket::Outcome;
    const Outcome waiting = NativeSocket::peek(handle(), buffer, size).outcome;
    // An error is the answer to an earlier datagram, and forgotten once it is told.
    if (waiting == Outcome::Moved || waiting == Outcome::Ended)
        socket->RecvFrom(*sender, buffer, static_cast<wxUint32>(size));
    return waiting != Outcome::WouldBlock;
}

String DatagramSocket::senderAddress() const {
    return fromToolkit(sender->IPAddress());
}

void DatagramSocket::reply(const void* bytes, std::size_t size) {
    send(*sender, bytes, size);
}

void DatagramSocket::send(const wxIPV4address& to, const void* bytes, std::size_t size) {
    // Past the toolkit: it waits for room when a slow link has filled the socket's buffer.
    NativeSocket::sendTo(handle(), bytes, size, to.GetAddressData(),
                         static_cast<std::size_t>(to.GetAddressDataLen()));
}

bool DatagramSocket::sendTo(const String& host, unsigned short port, const void* bytes,
                            std::size_t size) {
    wxIPV4address address;
    if (!address.Hostname(toToolkit(host)) || !address.Service(port))
        return false;
    send(address, bytes, size);
    return true;
}

}  // namespace Orvane
