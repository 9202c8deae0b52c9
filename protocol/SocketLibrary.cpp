#include "protocol/SocketLibrary.h"

#include <wx/debug.h>
#include <wx/log.h>
#include <wx/socket.h>

namespace Orvane {

SocketLibrary::SocketLibrary() {
    // A console program has nobody to answer the toolkit's questions.
    wxDisableAsserts();
    wxLog::EnableLogging(false);
    wxSocketBase::Initialize();
}

SocketLibrary::~SocketLibrary() {
    wxSocketBase::Shutdown();
}

}  // namespace Orvane
