#include "app/desktop/RunningInstance.h"

#include <windows.h>

#include <array>
#include <cstdlib>

#include "app/StopEvents-win32.h"
#include "app/StopOption-win32.h"

namespace Orvane::RunningInstance {

namespace {

bool startedByLogon = false;
HANDLE windowEvent = nullptr;

const std::array ownOptions = {
    Option{"--autostart", nullptr, "say nothing if a server runs on this computer already",
           [](const String& /*program*/, const String& /*value*/) -> std::optional<int> {
               startedByLogon = true;
               return std::nullopt;
           }},
    stopOption,
};

/// The first program of this session makes the event; when a user starts a later one, that sets it.
bool anotherHasTheSession() {
    windowEvent = CreateEventW(nullptr, FALSE, FALSE, L"Local\\OrvaneDrServerWindow");
    if (windowEvent == nullptr || GetLastError() != ERROR_ALREADY_EXISTS)
        return false;
    if (startedByLogon)
        return true;
    // What the user has just started may put a window in front, and hands that on.
    AllowSetForegroundWindow(ASFW_ANY);
    SetEvent(windowEvent);
    return true;
}

void tellUser() {
    MessageBoxW(nullptr,
                L"An Orvane DR Server already runs on this computer, as a service or for another "
                L"user who is logged on. It renders for this computer; nothing more is needed.",
                L"Orvane DR Server", MB_OK | MB_ICONINFORMATION);
}

}  // namespace

std::span<const Option> options() {
    return ownOptions;
}

std::optional<int> leaveTheWork() {
    if (anotherHasTheSession())
        return EXIT_SUCCESS;
    if (!StopEvents::aServerRuns())
        return std::nullopt;
    if (!startedByLogon)
        tellUser();
    return EXIT_SUCCESS;
}

bool isWindowWanted() {
    return WaitForSingleObject(windowEvent, 0) == WAIT_OBJECT_0;
}

}  // namespace Orvane::RunningInstance
