#pragma once

#include <windows.h>

#include <string>

namespace Orvane {

/// Who may do what with an object, from its text form (SDDL). Without one, which only a fault in
/// the text or a lack of memory brings, attributes() are null: the system's default.
class SecurityDescriptor {
  public:
    explicit SecurityDescriptor(const std::wstring& text);
    ~SecurityDescriptor();
    SecurityDescriptor(const SecurityDescriptor&) = delete;
    SecurityDescriptor& operator=(const SecurityDescriptor&) = delete;

    /// Null or not, the system's calls do not write to it.
    SECURITY_ATTRIBUTES* attributes() { return descriptor == nullptr ? nullptr : &forObjects; }
    PSECURITY_DESCRIPTOR get() const { return descriptor; }

  private:
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    SECURITY_ATTRIBUTES forObjects{};
};

/// The text form (S-1-...); empty for lack of memory.
std::wstring sidText(PSID sid);
/// The user of this process; that of the system should it not be known.
std::wstring ownSid();
/// An account as text: by the names that the service manager knows in every language, or by
/// DOMAIN\name, .\name or name. Empty when there is no such account.
std::wstring sidOf(const std::wstring& account);

}  // namespace Orvane
