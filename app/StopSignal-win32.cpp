#include <windows.h>

#include "app/StopSignal.h"

namespace Orvane {

namespace {

HANDLE stopEvent = nullptr;

BOOL WINAPI onConsoleEvent(DWORD event) {
    SetEvent(stopEvent);
    // The system ends the process when this returns; the main thread ends it in order.
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

}  // namespace

StopSignal::StopSignal() {
    stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

StopSignal::~StopSignal() {
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
    CloseHandle(stopEvent);
}

bool StopSignal::wait(std::chrono::milliseconds longest) {
    return WaitForSingleObject(stopEvent, static_cast<DWORD>(longest.count())) == WAIT_OBJECT_0;
}

}  // namespace Orvane
