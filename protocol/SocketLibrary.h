#pragma once

#include <wx/init.h>

namespace Orvane {

/// Readies the toolkit's socket layer for a program without a window, for as long as it lives. One
/// per program, made on the main thread before the first socket; all sockets are gone before it.
/// Throws std::runtime_error when the toolkit cannot start.
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
