#include "protocol/SocketLibrary.h"

#include <wx/socket.h>

#include <stdexcept>

namespace Orvane {

SocketLibrary::SocketLibrary() {
    if (!toolkit.IsOk() || !wxSocketBase::Initialize())
        throw std::runtime_error("The socket layer cannot be started");
}

SocketLibrary::~SocketLibrary() {
    wxSocketBase::Shutdown();
}

}  // namespace Orvane
