#include "OrvaneCore/CommandInterpreter.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvaneCore/Str.h"

namespace Orvane {

// The interpreter's own limit is 8,191, the words around the line included; and where a path holds
// a percent sign, the name of a variable stands for it.
const std::size_t mostCommandCharacters = 8191 - 64;

const std::u16string_view specialWithinQuotes = u"\"%";

namespace {

const wchar_t* const percentVariable = L"ORVANE_PERCENT";

// For what a program starts besides and leaves to end by itself.
constexpr ULONGLONG graceForTheRestMs = 5000;
// Beyond it is a process that the system cannot end, because a driver holds it.
constexpr ULONGLONG longestKillMs = 10000;
constexpr DWORD pollPeriodMs = 50;

constexpr DWORD pipeBytes = 65536;

const wchar_t* units(const String& text) {
    return reinterpret_cast<const wchar_t*>(text.terminated());
}

/// The system's own words.
String reasonOf(DWORD error) {
    constexpr DWORD room = 512;
    std::array<wchar_t, room> text{};
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    if (FormatMessageW(flags, nullptr, error, 0, text.data(), room, nullptr) == 0)
        return String("error ") + String(std::to_string(error));
    String reason(reinterpret_cast<const char16_t*>(text.data()));
    Str::trimWhitespace(reason);
    return reason;
}

class Handle {
  public:
    Handle(HANDLE systemHandle = nullptr) : handle(systemHandle) {}
    ~Handle() { reset(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void reset(HANDLE other = nullptr) {
        if (isValid())
            CloseHandle(handle);
        handle = other;
    }
    bool isValid() const { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return handle; }

  private:
    HANDLE handle;
};

SECURITY_ATTRIBUTES inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

/// The end of a pipe that is read while something else is waited for, which anonymous pipes cannot.
class OutputPipe {
  public:
    explicit OutputPipe(const Command::Output& target)
        : output(target), event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        static std::atomic<unsigned> count = 0;
        const std::wstring name = L"\\\\.\\pipe\\OrvaneHostOutput-" +
                                  std::to_wstring(GetCurrentProcessId()) + L"-" +
                                  std::to_wstring(++count);
        constexpr DWORD mode =
            PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE;
        ours.reset(CreateNamedPipeW(name.c_str(), mode, PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS,
                                    1, 0, pipeBytes, 0, nullptr));
        SECURITY_ATTRIBUTES inherited = inheritable();
        writers.reset(
            CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inherited, OPEN_EXISTING, 0, nullptr));
    }
    ~OutputPipe() {
        if (reading && CancelIo(ours) != 0)
            take(true);
    }
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    HANDLE writersEnd() const { return writers; }
    /// When the writers have theirs.
    void open() {
        writers.reset();
        read();
    }
    bool isOpen() const { return reading; }
    /// Is set when there is something to take.
    HANDLE readiness() const { return event; }

    void take(bool wait = false) {
        DWORD size = 0;
        reading = false;
        if (GetOverlappedResult(ours, &state, &size, wait ? TRUE : FALSE) == 0)
            return;
        output({bytes.data(), size});
        if (!wait)
            read();
    }

  private:
    void read() {
        state = {};
        state.hEvent = event;
        reading = ReadFile(ours, bytes.data(), pipeBytes, nullptr, &state) != 0 ||
                  GetLastError() == ERROR_IO_PENDING;
    }

    const Command::Output& output;
    Handle event;
    Handle ours;
    Handle writers;
    OVERLAPPED state{};
    std::array<char, pipeBytes> bytes{};
    bool reading = false;
};

/// The standard streams, and with them all that a process inherits.
class Streams {
  public:
    explicit Streams(HANDLE outputEnd) {
        SECURITY_ATTRIBUTES inherited = inheritable();
        null.reset(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                               OPEN_EXISTING, 0, nullptr));
        handles = {null, outputEnd};
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        storage.resize(size);
        startup.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage.data());
        InitializeProcThreadAttributeList(startup.lpAttributeList, 1, 0, &size);
        UpdateProcThreadAttribute(startup.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                  handles.data(), sizeof handles, nullptr, nullptr);
        startup.StartupInfo.cb = sizeof startup;
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdInput = null;
        startup.StartupInfo.hStdOutput = outputEnd;
        startup.StartupInfo.hStdError = outputEnd;
    }
    ~Streams() { DeleteProcThreadAttributeList(startup.lpAttributeList); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    STARTUPINFOW* startupInfo() { return &startup.StartupInfo; }

  private:
    Handle null;
    std::array<HANDLE, 2> handles{};
    std::vector<char> storage;
    STARTUPINFOEXW startup{};
};

/// Processes that are ended together, at the latest when the last handle is closed: by the end of
/// this program, whatever it is.
class Job {
  public:
    Job() : job(CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        // The second keeps the system's crash dialog away, which would hold the process.
        limits.BasicLimitInformation.LimitFlags =
            JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
        SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    }

    void take(HANDLE process) { AssignProcessToJobObject(job, process); }
    void end() { TerminateJobObject(job, EXIT_FAILURE); }
    bool isEmpty() const {
        JOBOBJECT_BASIC_ACCOUNTING_INFORMATION counts{};
        return QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &counts,
                                         sizeof counts, nullptr) == 0 ||
               counts.ActiveProcesses == 0;
    }

  private:
    Handle job;
};

std::wstring interpreter() {
    constexpr DWORD room = 2 * MAX_PATH;
    std::array<wchar_t, room> path{};
    const DWORD length = GetEnvironmentVariableW(L"ComSpec", path.data(), room);
    if (length > 0 && length < room)
        return path.data();
    const UINT used = GetSystemDirectoryW(path.data(), room);
    return std::wstring(path.data(), used) + L"\\cmd.exe";
}

/// Inherited by what is started meanwhile: a host that fails is to end, not to show a box and wait
/// for somebody. Not for good, because it would keep our own crashes from being reported.
class NoErrorBoxes {
  public:
    NoErrorBoxes() : before(GetErrorMode()) {
        SetErrorMode(before | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX |
                     SEM_NOOPENFILEERRORBOX);
    }
    ~NoErrorBoxes() { SetErrorMode(before); }
    NoErrorBoxes(const NoErrorBoxes&) = delete;
    NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

  private:
    UINT before;
};

}  // namespace

String withinQuotes(const String& text) {
    String escaped = text;
    Str::replaceAll(escaped, u"%", u"%ORVANE_PERCENT%");
    return escaped;
}

struct Command::Native {
    Handle endRequest{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    Job job;
    Handle process;

    /// Answers 0 or the system's error.
    DWORD start(const String& line, Priority priority, HANDLE outputEnd) {
        const NoErrorBoxes inherited;
        // What it expands to is not looked at again, so no name in a path is taken for a variable.
        SetEnvironmentVariableW(percentVariable, L"%");
        const std::wstring program = interpreter();
        // With /s exactly the outer quotes are taken away, whatever the line holds; a machine may
        // be set to take what stands between exclamation marks for a variable, hence /v:off.
        std::wstring whole = std::wstring(L"cmd.exe /d /v:off /s /c \"") + units(line) + L"\"";
        const DWORD flags = CREATE_NO_WINDOW | CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT |
                            EXTENDED_STARTUPINFO_PRESENT |
                            (priority == Priority::Low ? BELOW_NORMAL_PRIORITY_CLASS : 0);
        Streams streams(outputEnd);
        PROCESS_INFORMATION started{};
        if (CreateProcessW(program.c_str(), whole.data(), nullptr, nullptr, TRUE, flags, nullptr,
                           nullptr, streams.startupInfo(), &started) == 0)
            return GetLastError();
        process.reset(started.hProcess);
        const Handle thread(started.hThread);
        job.take(process);
        ResumeThread(thread);
        return 0;
    }

    void followInterpreter(OutputPipe& pipe) {
        while (!hasEnded()) {
            if (wait(pipe, process, INFINITE) == endRequest)
                end();
        }
    }

    /// What the interpreter has left. Answers whether it had to be ended.
    bool followTheRest(OutputPipe& pipe) {
        waitForTheRest(pipe, graceForTheRestMs);
        const bool left = !job.isEmpty();
        if (left) {
            end();
            waitForTheRest(pipe, longestKillMs);
        }
        while (pipe.isOpen() &&
               WaitForSingleObject(pipe.readiness(), pollPeriodMs) == WAIT_OBJECT_0)
            pipe.take();
        return left;
    }

    std::uint32_t status() const {
        DWORD code = 0;
        GetExitCodeProcess(process, &code);
        return code;
    }

  private:
    bool hasEnded() const { return WaitForSingleObject(process, 0) == WAIT_OBJECT_0; }

    void end() {
        job.end();
        // Outside of the job, if this program itself is in one that lets none out (Windows 7).
        TerminateProcess(process, EXIT_FAILURE);
        ResetEvent(endRequest);
    }

    void waitForTheRest(OutputPipe& pipe, ULONGLONG longest) {
        const ULONGLONG start = GetTickCount64();
        while (!job.isEmpty() && GetTickCount64() - start < longest)
            if (wait(pipe, nullptr, pollPeriodMs) == endRequest)
                end();
    }

    /// Waits for the end request, the pipe, which it serves, and `also`. Answers which it was.
    HANDLE wait(OutputPipe& pipe, HANDLE also, DWORD longest) {
        std::array<HANDLE, 3> waited{};
        DWORD count = 0;
        waited[count++] = endRequest;
        if (also != nullptr)
            waited[count++] = also;
        if (pipe.isOpen())
            waited[count++] = pipe.readiness();
        const DWORD which = WaitForMultipleObjects(count, waited.data(), FALSE, longest);
        if (which >= count)
            return nullptr;
        if (waited[which] == pipe.readiness())
            pipe.take();
        return waited[which];
    }
};

bool CommandResult::hasCrashed() const {
    // The system's own codes of errors.
    constexpr std::uint32_t first = 0xC0000000;
    return status >= first;
}

Command::Command(String commandLine, Priority processPriority, Output outputTarget)
    : line(std::move(commandLine)),
      priority(processPriority),
      output(std::move(outputTarget)),
      native(new Native) {}

Command::~Command() = default;

CommandResult Command::run() {
    CommandResult result;
    OutputPipe pipe(output);
    const DWORD error = native->start(line, priority, pipe.writersEnd());
    if (error != 0) {
        result.startFailure = reasonOf(error);
        return result;
    }
    pipe.open();
    native->followInterpreter(pipe);
    result.status = native->status();
    result.leftProcesses = native->followTheRest(pipe);
    return result;
}

void Command::end() {
    SetEvent(native->endRequest);
}

}  // namespace Orvane
