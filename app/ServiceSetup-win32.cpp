#include "app/ServiceSetup-win32.h"

#include <windows.h>

#include <aclapi.h>
#include <ntsecapi.h>
#include <sddl.h>
#include <shlobj.h>

#include <array>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "app/CommandLine.h"
#include "app/Console.h"
#include "app/Security-win32.h"

namespace Orvane {

const wchar_t* const serviceName = L"OrvaneDrServer";

namespace {

constexpr const wchar_t* displayName = L"Orvane DR Server";
constexpr const wchar_t* description = L"Lends this computer's 3ds Max to render masters.";
// It may use the network and has hardly any rights on this computer.
constexpr const wchar_t* defaultAccount = L"NT AUTHORITY\\LocalService";
constexpr const wchar_t* eventSource =
    L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\OrvaneDrServer";

String textOf(const std::wstring& text) {
    return String(std::u16string(text.begin(), text.end()));
}

std::wstring wideOf(const String& text) {
    const std::u16string_view units = text.view();
    return {units.begin(), units.end()};
}

/// What the system has to say of an error, which ends in a line feed, or just its number.
String errorText(DWORD error) {
    wchar_t* text = nullptr;
    FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const String said = text == nullptr ? String("\n") : textOf(text);
    LocalFree(text);
    return String("error " + std::to_string(error) + ": ") + said;
}

class SetupFailure {
  public:
    explicit SetupFailure(const char* step, DWORD error = GetLastError())
        : text(String(step) + ": " + errorText(error)) {}
    explicit SetupFailure(String whole) : text(std::move(whole)) {}

    const String text;
};

void must(bool done, const char* step) {
    if (!done)
        throw SetupFailure(step);
}

class ServiceHandle {
  public:
    explicit ServiceHandle(SC_HANDLE opened) : handle(opened) {}
    ~ServiceHandle() {
        if (handle != nullptr)
            CloseServiceHandle(handle);
    }
    ServiceHandle(const ServiceHandle&) = delete;
    ServiceHandle& operator=(const ServiceHandle&) = delete;

    operator SC_HANDLE() const { return handle; }  // NOLINT(google-explicit-constructor)

  private:
    SC_HANDLE handle;
};

ServiceHandle openManager() {
    const SC_HANDLE manager =
        OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE);
    must(manager != nullptr, "opening the service manager, as administrator");
    return ServiceHandle(manager);
}

std::wstring programPath() {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
    while (length == path.size()) {
        path.resize(path.size() * 2);
        length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    }
    path.resize(length);
    return path;
}

/// Or this user's, who would not have come this far without being one.
bool isAdministrators(PSID owner) {
    return IsWellKnownSid(owner, WinBuiltinAdministratorsSid) != 0 ||
           IsWellKnownSid(owner, WinLocalSystemSid) != 0 || sidText(owner) == ownSid();
}

/// Every user may make folders where this one is: somebody else's would hold a configuration that
/// says which programs the service starts.
bool belongsToAdministrators(const std::wstring& folder) {
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR security = nullptr;
    const DWORD error =
        GetNamedSecurityInfoW(folder.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner,
                              nullptr, nullptr, nullptr, &security);
    const bool theirs = error == ERROR_SUCCESS && isAdministrators(owner);
    LocalFree(security);
    return theirs;
}

void protect(const std::wstring& folder, SecurityDescriptor& security) {
    if (!belongsToAdministrators(folder))
        throw SetupFailure(textOf(folder) +
                           " belongs to somebody who is no administrator: look into it and give it "
                           "to the administrators, or remove it\n");
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL list = nullptr;
    GetSecurityDescriptorDacl(security.get(), &present, &list, &defaulted);
    std::wstring path = folder;
    const DWORD error =
        SetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT,
                              DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                              nullptr, nullptr, list, nullptr);
    if (error != ERROR_SUCCESS)
        throw SetupFailure("giving its folder to the service's account", error);
}

/// Scenes are nobody's business but the administrators' and the service's.
std::wstring makeOwnFolder(const std::wstring& accountSid) {
    wchar_t* programData = nullptr;
    must(SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, &programData) == S_OK,
         "finding the folder for programs' data");
    const std::wstring folder = std::wstring(programData) + L"\\" + displayName;
    CoTaskMemFree(programData);
    SecurityDescriptor security(L"O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1301bf;;;" +
                                accountSid + L")");
    if (CreateDirectoryW(folder.c_str(), security.attributes()) != 0)
        return folder;
    must(GetLastError() == ERROR_ALREADY_EXISTS, "making the service's folder");
    protect(folder, security);
    return folder;
}

/// Console tools give accounts the right to log on as a service; making a service does not.
void allowLogonAsService(const std::wstring& sidText) {
    PSID sid = nullptr;
    ConvertStringSidToSidW(sidText.c_str(), &sid);
    LSA_OBJECT_ATTRIBUTES attributes{};
    LSA_HANDLE policy = nullptr;
    std::wstring right = L"SeServiceLogonRight";
    const auto bytes = static_cast<USHORT>(right.size() * sizeof(wchar_t));
    LSA_UNICODE_STRING name{bytes, static_cast<USHORT>(bytes + sizeof(wchar_t)), right.data()};
    NTSTATUS status =
        LsaOpenPolicy(nullptr, &attributes, POLICY_CREATE_ACCOUNT | POLICY_LOOKUP_NAMES, &policy);
    if (status == 0)
        status = LsaAddAccountRights(policy, sid, &name, 1);
    if (policy != nullptr)
        LsaClose(policy);
    LocalFree(sid);
    if (status != 0)
        throw SetupFailure("giving the account the right to log on as a service",
                           LsaNtStatusToWinError(status));
}

/// The system's own accounts and managed ones have none to be given.
bool needsPassword(const std::wstring& account, const std::wstring& sid) {
    return !sid.starts_with(L"S-1-5-18") && !sid.starts_with(L"S-1-5-19") &&
           !sid.starts_with(L"S-1-5-20") && !account.ends_with(L'$');
}

std::wstring readLineOfConsole(HANDLE console, DWORD mode) {
    std::array<wchar_t, 512> line{};
    DWORD units = 0;
    SetConsoleMode(console, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    ReadConsoleW(console, line.data(), static_cast<DWORD>(line.size()), &units, nullptr);
    SetConsoleMode(console, mode);
    return {line.data(), units};
}

std::wstring readLineOfPipe(HANDLE pipe) {
    std::string bytes;
    char byte = 0;
    for (DWORD got = 0; ReadFile(pipe, &byte, 1, &got, nullptr) != 0 && got == 1 && byte != '\n';)
        bytes += byte;
    std::wstring line(bytes.size(), L'\0');
    // What the interpreter writes into a pipe.
    const int units = MultiByteToWideChar(CP_OEMCP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                          line.data(), static_cast<int>(line.size()));
    line.resize(static_cast<std::size_t>(units));
    return line;
}

std::wstring readPassword() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(input, &mode) != 0)
        showAnswer("Password of the account: ", Answer::Asked);
    std::wstring line =
        GetConsoleMode(input, &mode) != 0 ? readLineOfConsole(input, mode) : readLineOfPipe(input);
    while (!line.empty() && (line.back() == L'\r' || line.back() == L'\n'))
        line.pop_back();
    return line;
}

std::wstring accountOf(SC_HANDLE service) {
    alignas(QUERY_SERVICE_CONFIGW) std::array<char, 8192> buffer{};  // the most that it ever needs
    auto* configuration = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    DWORD needed = 0;
    must(QueryServiceConfigW(service, configuration, static_cast<DWORD>(buffer.size()), &needed) !=
             0,
         "reading the service's configuration");
    return configuration->lpServiceStartName;
}

/// Whatever ends it but a request to stop: after 10 s, a minute, then every 5 minutes.
void restartOnFailure(SC_HANDLE service) {
    std::array<SC_ACTION, 3> actions = {
        {{SC_ACTION_RESTART, 10'000}, {SC_ACTION_RESTART, 60'000}, {SC_ACTION_RESTART, 300'000}}};
    SERVICE_FAILURE_ACTIONSW failure{};
    failure.dwResetPeriod = 86'400;
    failure.cActions = static_cast<DWORD>(actions.size());
    failure.lpsaActions = actions.data();
    must(ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failure) != 0,
         "setting what happens when the service fails");
    // Also when it says itself that it failed. Not known everywhere, and not worth failing for.
    SERVICE_FAILURE_ACTIONS_FLAG flag{TRUE};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &flag);
}

void describe(SC_HANDLE service) {
    std::wstring text = description;
    SERVICE_DESCRIPTIONW described{text.data()};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &described);
    SERVICE_PRESHUTDOWN_INFO preshutdown{preshutdownMs};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_PRESHUTDOWN_INFO, &preshutdown);
}

/// The event log shows texts by a file of messages; this one of the system's has "%1" for all.
void registerEventSource() {
    const std::wstring file = L"%SystemRoot%\\System32\\EventCreate.exe";
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, eventSource, 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                        &key, nullptr) != ERROR_SUCCESS)
        return;
    const DWORD types = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
    RegSetValueExW(key, L"EventMessageFile", 0, REG_EXPAND_SZ,
                   reinterpret_cast<const BYTE*>(file.c_str()),
                   static_cast<DWORD>((file.size() + 1) * sizeof(wchar_t)));
    RegSetValueExW(key, L"TypesSupported", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&types),
                   sizeof(types));
    RegCloseKey(key);
}

struct Plan {
    std::wstring account;
    std::wstring password;
    bool accountGiven = false;
    std::wstring commandLine;
};

Plan planFor(const std::optional<String>& account, SC_HANDLE existing) {
    Plan plan;
    plan.accountGiven = account.has_value() || existing == nullptr;
    plan.account =
        account ? wideOf(*account) : (existing == nullptr ? defaultAccount : accountOf(existing));
    const std::wstring sid = sidOf(plan.account);
    if (sid.empty())
        throw SetupFailure(textOf(L"there is no account '" + plan.account + L"'\n"));
    if (plan.accountGiven && needsPassword(plan.account, sid)) {
        plan.password = readPassword();
        allowLogonAsService(sid);
    }
    std::wstring folder = chosenFolder() ? wideOf(*chosenFolder()) : makeOwnFolder(sid);
    if (folder.ends_with(L'\\'))
        folder += L'.';  // or it would guard the quotation mark behind it
    plan.commandLine = L"\"" + programPath() + L"\" --service --folder \"" + folder + L"\"";
    return plan;
}

SC_HANDLE makeService(SC_HANDLE manager, const Plan& plan) {
    const wchar_t* const dependencies = L"Tcpip\0";
    return CreateServiceW(manager, serviceName, displayName, SERVICE_ALL_ACCESS,
                          SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                          plan.commandLine.c_str(), nullptr, nullptr, dependencies,
                          plan.account.c_str(), plan.password.c_str());
}

bool changeService(SC_HANDLE service, const Plan& plan) {
    return ChangeServiceConfigW(service, SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE,
                                plan.commandLine.c_str(), nullptr, nullptr, nullptr,
                                plan.accountGiven ? plan.account.c_str() : nullptr,
                                plan.accountGiven ? plan.password.c_str() : nullptr,
                                displayName) != 0;
}

void install(const std::optional<String>& account) {
    const ServiceHandle manager = openManager();
    const ServiceHandle existing(OpenServiceW(manager, serviceName, SERVICE_ALL_ACCESS));
    const Plan plan = planFor(account, existing);
    const ServiceHandle made(existing == nullptr ? makeService(manager, plan) : nullptr);
    const SC_HANDLE service = existing == nullptr ? made : existing;
    must(service != nullptr && (made != nullptr || changeService(existing, plan)),
         "making the service");
    restartOnFailure(service);
    describe(service);
    registerEventSource();
    must(StartServiceW(service, 0, nullptr) != 0 || GetLastError() == ERROR_SERVICE_ALREADY_RUNNING,
         "the service is installed and does not start");
}

bool hasStopped(SC_HANDLE service) {
    SERVICE_STATUS status{};
    return QueryServiceStatus(service, &status) == 0 || status.dwCurrentState == SERVICE_STOPPED;
}

void remove() {
    constexpr std::chrono::milliseconds pollPeriod{100};
    const ServiceHandle manager = openManager();
    const ServiceHandle service(
        OpenServiceW(manager, serviceName, SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE));
    if (service == nullptr && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST)
        return;
    must(service != nullptr, "opening the service");
    SERVICE_STATUS status{};
    ControlService(service, SERVICE_CONTROL_STOP, &status);
    // However long its job takes: who cannot wait for that may end it.
    while (!hasStopped(service))
        std::this_thread::sleep_for(pollPeriod);
    must(DeleteService(service) != 0, "removing the service");
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, eventSource);
}

template <typename Step>
int statusOf(const String& program, const Step& step) {
    try {
        step();
        return EXIT_SUCCESS;
    } catch (const SetupFailure& failure) {
        showAnswer(program + ": " + failure.text, Answer::Error);
        return EXIT_FAILURE;
    }
}

}  // namespace

int installService(const String& program, const std::optional<String>& account) {
    return statusOf(program, [&account] { install(account); });
}

int removeService(const String& program) {
    return statusOf(program, remove);
}

}  // namespace Orvane
