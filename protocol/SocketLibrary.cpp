#include "protocol/SocketLibrary.h"

#include <wx/debug.h>
#include <wx/log.h>
#include <wx/socket.h>

#include "protocol/NativeSocket.h"

namespace Orvane {

SocketLibrary::SocketLibrary() {
    // A console program has nobody to answer the toolkit's questions.
    wxDisableAsserts();
    wxLog::EnableLogging(false);
    NativeSocket::startUp();
    wxSocketBase::Initialize();
}

SocketLibrary::~SocketLibrary() {
    wxSocketBase::Shutdown();
}

}  // namespace Orvane
