#include "server/PortInUse.h"

#include "OrvaneCore/MessageBox.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

void showPortInUse(const char* opening, unsigned short port) {
    showMessageBox(errorCaption,
                   String(opening) + Str::toWString(port) +
                       ").\n\nThis probably means that some other application is already using "
                       "this port (probably another instance of DR Server) - shut it down first.");
}

}  // namespace Orvane
