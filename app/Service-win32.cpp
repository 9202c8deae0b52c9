#include "app/Service.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <future>
#include <limits>
#include <thread>

#include "OrvaneCore/MessageBox.h"
#include "app/Console.h"
#include "app/ServiceSetup-win32.h"
#include "app/StopEvents-win32.h"
#include "app/StopOption-win32.h"
#include "app/StopSignal.h"

namespace Orvane {

namespace {

enum class Task { Serve, ServeAsService, Install, Remove };

Task task = Task::Serve;
String programName;
std::optional<String> account;

template <Task chosen>
std::optional<int> choose(const String& program, const String& /*value*/) {
    task = chosen;
    programName = program;
    return std::nullopt;
}

std::optional<int> takeAccount(const String& /*program*/, const String& value) {
    account = value;
    return std::nullopt;
}

const std::array ownOptions = {
    Option{"--install-service", nullptr, "make this a Windows service, started with the computer",
           choose<Task::Install>},
    Option{"--account", "NAME", "with it: the account, .\\name or DOMAIN\\name; password on stdin",
           takeAccount},
    Option{"--remove-service", nullptr, "stop the service and remove it; its data stays",
           choose<Task::Remove>},
    Option{"--service", nullptr, "for the service manager, which starts the service with it",
           choose<Task::ServeAsService>},
    stopOption,
};

SERVICE_STATUS_HANDLE statusHandle = nullptr;
// Of the time that the system gives it at its end, this is for ending the host, if it still works.
constexpr ULONGLONG finishMs = 30'000;
std::atomic<ULONGLONG> shutdownAt = std::numeric_limits<ULONGLONG>::max();

std::promise<bool> begun;  // false: nobody here but us
std::promise<int> ended;

void report(DWORD state, DWORD checkpoint = 0, int exitStatus = EXIT_SUCCESS) {
    constexpr DWORD waitHintMs = 10'000;
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    if (state == SERVICE_RUNNING)
        status.dwControlsAccepted =
            SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN | SERVICE_ACCEPT_PRESHUTDOWN;
    if (state == SERVICE_STOP_PENDING)
        status.dwWaitHint = waitHintMs;
    if (exitStatus != EXIT_SUCCESS)
        status.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
    status.dwServiceSpecificExitCode = static_cast<DWORD>(exitStatus);
    status.dwCheckPoint = checkpoint;
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI onControl(DWORD control, DWORD /*event*/, void* /*data*/, void* /*context*/) {
    switch (control) {
        case SERVICE_CONTROL_SHUTDOWN:
            StopSignal::makeUrgent();
            StopEvents::set();
            return NO_ERROR;
        case SERVICE_CONTROL_PRESHUTDOWN:
            shutdownAt = GetTickCount64() + preshutdownMs - finishMs;
            StopEvents::set();
            return NO_ERROR;
        case SERVICE_CONTROL_STOP:
            StopEvents::set();
            return NO_ERROR;
        case SERVICE_CONTROL_INTERROGATE:
            return NO_ERROR;
        default:
            return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

/// Says again and again that it goes on: a job may take long, and the manager would give up.
int awaitTheEnd() {
    constexpr std::chrono::milliseconds period{500};
    auto status = ended.get_future();
    for (DWORD checkpoint = 1; status.wait_for(period) != std::future_status::ready;)
        if (StopEvents::areSet()) {
            // A service that is stopping hears of nothing more: nobody tells it that time is short.
            if (GetTickCount64() >= shutdownAt)
                StopSignal::makeUrgent();
            report(SERVICE_STOP_PENDING, checkpoint++);
        }
    return status.get();
}

void WINAPI onStart(DWORD /*count*/, wchar_t** /*values*/) {
    statusHandle = RegisterServiceCtrlHandlerExW(serviceName, onControl, nullptr);
    report(SERVICE_RUNNING);
    begun.set_value(true);
    const int status = awaitTheEnd();
    report(SERVICE_STOPPED, 0, status);
}

void dispatch() {
    std::wstring name = serviceName;
    const std::array<SERVICE_TABLE_ENTRYW, 2> table = {{{name.data(), onStart}, {}}};
    // Returns when the service has stopped.
    if (StartServiceCtrlDispatcherW(table.data()) == 0)
        begun.set_value(false);
}

/// Nobody sees a service's standard error.
void writeToEventLog(const String& /*caption*/, const String& text) {
    const HANDLE log = RegisterEventSourceW(nullptr, serviceName);
    if (log == nullptr)
        return;
    constexpr DWORD message = 1;
    const auto* line = reinterpret_cast<const wchar_t*>(text.terminated());
    ReportEventW(log, EVENTLOG_ERROR_TYPE, 0, message, nullptr, 1, 0, &line, nullptr);
    DeregisterEventSource(log);
}

/// The server has the main thread, as it always has.
int serveAsService(int (*server)()) {
    StopEvents::endWithSession = false;
    StopEvents::create();
    setMessageBoxHandler(writeToEventLog);
    std::thread dispatcher(dispatch);
    const bool wanted = begun.get_future().get();
    const int status = wanted ? server() : EXIT_FAILURE;
    if (wanted)
        ended.set_value(status);
    else
        showAnswer(programName + ": --service is for the service manager\n", Answer::Error);
    dispatcher.join();
    return status;
}

}  // namespace

std::span<const Option> headlessOptions() {
    return ownOptions;
}

int runServer(int (*server)()) {
    switch (task) {
        case Task::Install:
            return installService(programName, account);
        case Task::Remove:
            return removeService(programName);
        case Task::ServeAsService:
            return serveAsService(server);
        case Task::Serve:
            break;
    }
    return server();
}

}  // namespace Orvane
