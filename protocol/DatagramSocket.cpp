#include "protocol/DatagramSocket.h"

#include <wx/socket.h>

#include "protocol/NativeSocket.h"
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
        NativeSocket::isolate(static_cast<NativeSocket::Handle>(socket->GetSocket()));
}

DatagramSocket::~DatagramSocket() = default;

bool DatagramSocket::isOk() const {
    return socket->IsOk();
}

String DatagramSocket::localAddress() const {
    wxIPV4address address;
    return socket->GetLocal(address) ? fromToolkit(address.IPAddress()) : String();
}

bool DatagramSocket::receive(void* buffer, std::size_t size) {
    const auto handle = static_cast<NativeSocket::Handle>(socket->GetSocket());
    if (!NativeSocket::waitReadable(handle, std::chrono::milliseconds::zero()))
        return false;
    socket->RecvFrom(*sender, buffer, static_cast<wxUint32>(size));
    return !socket->Error();
}

String DatagramSocket::senderAddress() const {
    return fromToolkit(sender->IPAddress());
}

void DatagramSocket::reply(const void* bytes, std::size_t size) {
    socket->SendTo(*sender, bytes, static_cast<wxUint32>(size));
}

bool DatagramSocket::sendTo(const String& host, unsigned short port, const void* bytes,
                            std::size_t size) {
    wxIPV4address address;
    if (!address.Hostname(toToolkit(host)) || !address.Service(port))
        return false;
    socket->SendTo(address, bytes, static_cast<wxUint32>(size));
    return true;
}

}  // namespace Orvane
