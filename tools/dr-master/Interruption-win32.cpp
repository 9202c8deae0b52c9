#include "Interruption.h"

#include <windows.h>

namespace Orvane {

struct Interruption::Native {};

namespace {

BOOL WINAPI onControl(DWORD event) {
    Interruption::come();
    // After these the system ends the process as soon as the handler returns, or some seconds
    // later: the main thread's end comes first, if it can.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

}  // namespace

Interruption::Interruption() {
    // A program started by another one may have been told to ignore Ctrl-C; a person who waits for
    // this one would miss it.
    SetConsoleCtrlHandler(nullptr, FALSE);
    SetConsoleCtrlHandler(onControl, TRUE);
}

Interruption::~Interruption() {
    SetConsoleCtrlHandler(onControl, FALSE);
}

}  // namespace Orvane
