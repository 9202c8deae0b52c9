#include "app/StopSignal.h"

#include <windows.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "app/StopEvents-win32.h"

namespace Orvane {

namespace {

HANDLE endEvent = nullptr;

std::atomic<bool> woken = false;
DWORD waitingThread = 0;
std::atomic<bool> urgent = false;

/// For notices after which the system ends the process: they return when it has ended in order.
void stopAndWaitForTheEnd() {
    urgent = true;
    StopEvents::set();
    WaitForSingleObject(endEvent, INFINITE);
}

BOOL WINAPI onConsoleEvent(DWORD event) {
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        stopAndWaitForTheEnd();
    else
        StopEvents::set();
    return TRUE;
}

/// A service hears of every user who logs off, and is ended by the service manager only.
BOOL WINAPI ignoreConsoleEvent(DWORD /*event*/) {
    return TRUE;
}

PHANDLER_ROUTINE consoleHandler() {
    return StopEvents::endWithSession ? onConsoleEvent : ignoreConsoleEvent;
}

/// The reason is for the screen that shows what holds up the end of the session.
LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM word, LPARAM value) {
    if (message == WM_QUERYENDSESSION) {
        ShutdownBlockReasonCreate(window, L"Ending 3ds Max and the DR server");
        return TRUE;
    }
    if (message == WM_ENDSESSION && word != 0)
        stopAndWaitForTheEnd();
    else if (message == WM_ENDSESSION)
        ShutdownBlockReasonDestroy(window);
    else if (message == WM_CLOSE)
        StopEvents::set();
    else
        return DefWindowProcW(window, message, word, value);
    return 0;
}

void serveWindows() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0)
        DispatchMessageW(&message);
}

/// Programs that load user32.dll, as all of ours do, hear of the end of the session by window only.
class HiddenWindow {
  public:
    HiddenWindow() : thread([this] { serve(); }) { open.get_future().wait(); }
    ~HiddenWindow() {
        PostThreadMessageW(threadId, WM_QUIT, 0, 0);
        thread.join();
    }
    HiddenWindow(const HiddenWindow&) = delete;
    HiddenWindow& operator=(const HiddenWindow&) = delete;

  private:
    void serve() {
        WNDCLASSW description{};
        description.lpfnWndProc = onMessage;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = L"OrvaneStopSignal";
        RegisterClassW(&description);
        CreateWindowW(description.lpszClassName, L"", 0, 0, 0, 0, 0, nullptr, nullptr,
                      description.hInstance, nullptr);
        threadId = GetCurrentThreadId();
        MSG message;
        // Without a window the thread has no queue yet for the message that ends it.
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        open.set_value();
        while (GetMessageW(&message, nullptr, 0, 0) > 0)
            DispatchMessageW(&message);
    }

    DWORD threadId = 0;
    std::promise<void> open;
    std::thread thread;
};

std::unique_ptr<HiddenWindow> hiddenWindow;

}  // namespace

StopSignal::StopSignal() {
    waitingThread = GetCurrentThreadId();
    // Without a window the thread has no queue yet for the message that wakes it.
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    StopEvents::create();
    endEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(consoleHandler(), TRUE);
    if (StopEvents::endWithSession)
        hiddenWindow = std::make_unique<HiddenWindow>();
}

StopSignal::~StopSignal() {
    SetEvent(endEvent);
    hiddenWindow.reset();
    SetConsoleCtrlHandler(consoleHandler(), FALSE);
    CloseHandle(endEvent);
}

bool StopSignal::isUrgent() {
    return urgent;
}

void StopSignal::makeUrgent() {
    urgent = true;
}

bool StopSignal::wait(std::chrono::milliseconds longest) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + longest;
    auto left = longest;
    // Messages are what wake() sends, and those for windows that a library may have on this thread:
    // the end of the session waits for their answers. A program that does not wait here serves its
    // windows by itself.
    while (left > left.zero() && !woken.exchange(false) && StopEvents::waitForMessage(left)) {
        serveWindows();
        left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    }
    return StopEvents::areSet();
}

void StopSignal::wake() {
    woken = true;
    PostThreadMessageW(waitingThread, WM_NULL, 0, 0);
}

}  // namespace Orvane
