#include "app/Security-win32.h"

#include <sddl.h>

#include <array>
#include <utility>
#include <vector>

namespace Orvane {

SecurityDescriptor::SecurityDescriptor(const std::wstring& text) {
    ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &descriptor,
                                                         nullptr);
    forObjects = {sizeof(forObjects), descriptor, FALSE};
}

SecurityDescriptor::~SecurityDescriptor() {
    LocalFree(descriptor);
}

std::wstring sidText(PSID sid) {
    wchar_t* text = nullptr;
    if (ConvertSidToStringSidW(sid, &text) == 0)
        return {};
    std::wstring result = text;
    LocalFree(text);
    return result;
}

std::wstring ownSid() {
    HANDLE token = nullptr;
    alignas(TOKEN_USER) std::array<char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
    DWORD used = 0;
    std::wstring sid;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) != 0 &&
        GetTokenInformation(token, TokenUser, user.data(), static_cast<DWORD>(user.size()),
                            &used) != 0)
        sid = sidText(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
    if (token != nullptr)
        CloseHandle(token);
    return sid.empty() ? L"S-1-5-18" : sid;
}

std::wstring sidOf(const std::wstring& account) {
    static const std::array<std::pair<const wchar_t*, const wchar_t*>, 3> known = {{
        {L"NT AUTHORITY\\LocalService", L"S-1-5-19"},
        {L"NT AUTHORITY\\NetworkService", L"S-1-5-20"},
        {L"LocalSystem", L"S-1-5-18"},
    }};
    for (const auto& [name, sid] : known)
        if (lstrcmpiW(account.c_str(), name) == 0)
            return sid;
    const std::wstring name = account.starts_with(L".\\") ? account.substr(2) : account;
    std::array<char, SECURITY_MAX_SID_SIZE> sid{};
    std::array<wchar_t, 256> domain{};
    auto sidSize = static_cast<DWORD>(sid.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    SID_NAME_USE use{};
    if (LookupAccountNameW(nullptr, name.c_str(), sid.data(), &sidSize, domain.data(), &domainSize,
                           &use) == 0)
        return {};
    return sidText(sid.data());
}

}  // namespace Orvane
