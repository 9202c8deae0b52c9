#include "app/StopEvents-win32.h"

#include <windows.h>

#include <array>
#include <thread>

#include "app/Security-win32.h"

namespace Orvane::StopEvents {

bool endWithSession = true;

namespace {

constexpr const wchar_t* sharedName = L"Global\\OrvaneDrServerStop";

HANDLE ownEvent = nullptr;
HANDLE sharedEvent = nullptr;

HANDLE createShared() {
    // All may wait for it: another user's server has to. Setting it is for administrators, the
    // system and this user.
    SecurityDescriptor security(L"D:(A;;GA;;;BA)(A;;GA;;;SY)(A;;0x100000;;;AU)(A;;GA;;;" +
                                ownSid() + L")");
    const HANDLE created =
        CreateEventExW(security.attributes(), sharedName, CREATE_EVENT_MANUAL_RESET,
                       SYNCHRONIZE | EVENT_MODIFY_STATE);
    return created != nullptr ? created : OpenEventW(SYNCHRONIZE, FALSE, sharedName);
}

bool isSet(HANDLE event) {
    return event != nullptr && WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

}  // namespace

void create() {
    if (ownEvent != nullptr)
        return;
    ownEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    sharedEvent = createShared();
}

void set() {
    SetEvent(ownEvent);
}

bool areSet() {
    return isSet(ownEvent) || isSet(sharedEvent);
}

bool waitForMessage(std::chrono::milliseconds longest) {
    const std::array<HANDLE, 2> events = {ownEvent, sharedEvent};
    const DWORD count = sharedEvent == nullptr ? 1 : 2;
    return MsgWaitForMultipleObjects(count, events.data(), FALSE,
                                     static_cast<DWORD>(longest.count()),
                                     QS_ALLINPUT) == WAIT_OBJECT_0 + count;
}

bool aServerRuns() {
    const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, sharedName);
    if (event == nullptr)
        return GetLastError() == ERROR_ACCESS_DENIED;
    CloseHandle(event);
    return true;
}

Outcome stopAll(std::chrono::seconds longest) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pollPeriod{100};
    const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, sharedName);
    if (event == nullptr)
        return GetLastError() == ERROR_ACCESS_DENIED ? Outcome::Forbidden : Outcome::NoneRuns;
    SetEvent(event);
    // Or it would keep alive what it waits for the end of.
    CloseHandle(event);
    for (const auto deadline = Clock::now() + longest; aServerRuns();
         std::this_thread::sleep_for(pollPeriod))
        if (Clock::now() >= deadline)
            return Outcome::StillRunning;
    return Outcome::NoneRuns;
}

}  // namespace Orvane::StopEvents
