#pragma once

#include <wx/init.h>

namespace Orvane {

/// The toolkit's socket layer for a console program, for the object's lifetime. To be created on
/// the main thread before any other thread makes a socket.
class SocketLibrary {
  public:
    SocketLibrary();
    ~SocketLibrary();
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;

  private:
    wxInitializer toolkit;
};

}  // namespace Orvane
