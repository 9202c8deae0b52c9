#include "protocol/Listener.h"

#include <wx/socket.h>

#include <thread>

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds pauseAfterFailure{100};

std::unique_ptr<wxSocketServer> listen(Listener::Reach reach, unsigned short port) {
    wxIPV4address address;
    if (reach == Listener::Reach::Loopback)
        address.LocalHost();
    else
        address.Hostname("0.0.0.0");
    address.Service(port);
    return std::make_unique<wxSocketServer>(address, NativeSocket::listenerFlags());
}

}  // namespace

Listener::Listener(Reach reach, unsigned short port, int timeoutSeconds)
    : socket(listen(reach, port)), acceptTimeoutSeconds(timeoutSeconds) {
    if (isOk())
        NativeSocket::isolate(static_cast<NativeSocket::Handle>(socket->GetSocket()));
}

Listener::~Listener() = default;

bool Listener::isOk() const {
    return socket->IsOk();
}

std::unique_ptr<Connection> Listener::accept() {
    const std::chrono::seconds longest(acceptTimeoutSeconds);
    // The toolkit's own accept on an unbound socket raises its assertion and then crashes.
    if (!isOk()) {
        std::this_thread::sleep_for(longest);
        return nullptr;
    }
    const auto handle = static_cast<NativeSocket::Handle>(socket->GetSocket());
    if (!NativeSocket::waitReadable(handle, longest))
        return nullptr;
    auto accepted = std::make_unique<wxSocketBase>(NativeSocket::streamFlags(), wxSOCKET_BASE);
    if (!socket->AcceptWith(*accepted, false)) {
        // A process that is out of descriptors is told of the waiting connection again and again.
        std::this_thread::sleep_for(pauseAfterFailure);
        return nullptr;
    }
    return std::make_unique<Connection>(accepted.release());
}

}  // namespace Orvane
