#include "server/RelayWakeup.h"

// winsock2.h must come before anything that includes windows.h.
#include <winsock2.h>

#include <windows.h>

#include <array>

#include "OrvaneCore/LongPath-win32.h"

namespace Orvane {

namespace {

/// An event that is set while a connection has input, or its peer has gone.
class InputEvent {
  public:
    explicit InputEvent(const Connection& connection)
        : socket(static_cast<SOCKET>(connection.handle())), event(WSACreateEvent()) {
        WSAEventSelect(socket, event, FD_READ | FD_CLOSE);
    }
    ~InputEvent() {
        WSAEventSelect(socket, nullptr, 0);
        WSACloseEvent(event);
    }
    InputEvent(const InputEvent&) = delete;
    InputEvent& operator=(const InputEvent&) = delete;

    HANDLE handle() const { return event; }
    bool isSet() const { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

  private:
    SOCKET socket;
    WSAEVENT event;
};

}  // namespace

struct RelayWakeup::Native {
    HANDLE changes = INVALID_HANDLE_VALUE;
};

RelayWakeup::RelayWakeup(DrLog& target) : log(target), native(new Native) {}
RelayWakeup::~RelayWakeup() = default;

bool RelayWakeup::startWatching(const String& folder) {
    native->changes =
        FindFirstChangeNotificationW(longPath(folder).c_str(), FALSE,
                                     FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
    return native->changes != INVALID_HANDLE_VALUE;
}

void RelayWakeup::stopWatching() {
    if (native->changes != INVALID_HANDLE_VALUE)
        FindCloseChangeNotification(native->changes);
    native->changes = INVALID_HANDLE_VALUE;
}

bool RelayWakeup::wait(const Connection& master, const Connection& plugin,
                       std::chrono::milliseconds longest) {
    const InputEvent fromMaster(master);
    const InputEvent fromPlugin(plugin);
    const std::array<HANDLE, 3> waited = {fromMaster.handle(), fromPlugin.handle(),
                                          native->changes};
    const bool watching = native->changes != INVALID_HANDLE_VALUE;
    const DWORD which = WaitForMultipleObjects(watching ? 3 : 2, waited.data(), FALSE,
                                               static_cast<DWORD>(longest.count()));
    if (watching && which == WAIT_OBJECT_0 + 2)
        FindNextChangeNotification(native->changes);
    return fromMaster.isSet();
}

}  // namespace Orvane
