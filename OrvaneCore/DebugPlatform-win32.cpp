#include "OrvaneCore/DebugPlatform.h"

#include <assert.h>
#include <windows.h>

#include <cstring>
#include <string>

namespace Orvane::DebugPlatform {

namespace {

// The dialog's template lies in the module that asks for it; these are its numbers.
constexpr int templateNumber = 11675;
constexpr int textItem = 1001;
constexpr int continueButton = 1003;
constexpr int ignoreSiteButton = 1004;
constexpr int exitButton = 1005;
constexpr int crashButton = 1006;
constexpr int ignoreAllButton = 1007;

const wchar_t* native(const String& text) {
    return reinterpret_cast<const wchar_t*>(text.terminated());
}

void open(HWND dialog, const String& text) {
    SetDlgItemTextW(dialog, textItem, native(text));
    const int left = GetSystemMetrics(SM_CXSCREEN) / 2 - 240;
    const int top = GetSystemMetrics(SM_CYSCREEN) / 2 - 100;
    SetWindowPos(dialog, nullptr, left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
}

INT_PTR CALLBACK onMessage(HWND dialog, UINT message, WPARAM word, LPARAM value) {
    if (message == WM_INITDIALOG) {
        open(dialog, *reinterpret_cast<const String*>(value));
        return TRUE;
    }
    const int item = LOWORD(word);
    if (message != WM_COMMAND || item < continueButton || item > ignoreAllButton)
        return FALSE;
    EndDialog(dialog, item);
    return TRUE;
}

Debug::AssertChoice choiceOf(INT_PTR button) {
    using Debug::AssertChoice;
    switch (button) {
        case ignoreSiteButton:
            return AssertChoice::IgnoreSite;
        case exitButton:
            return AssertChoice::Exit;
        case crashButton:
            return AssertChoice::Crash;
        case ignoreAllButton:
            return AssertChoice::IgnoreAll;
        default:
            return AssertChoice::Continue;
    }
}

}  // namespace

bool isDebuggerAttached() {
    return IsDebuggerPresent() != 0;
}

void beep() {
    MessageBeep(MB_ICONHAND);
}

void runtimeAssertReport(const char* expression, const char* file, unsigned line) {
    const std::wstring wideExpression(expression, expression + std::strlen(expression));
    const std::wstring wideFile(file, file + std::strlen(file));
    _wassert(wideExpression.c_str(), wideFile.c_str(), line);
}

void writeToDebugger(const String& text) {
    OutputDebugStringW(native(text));
}

Debug::AssertChoice askUser(const String& text) {
    return choiceOf(DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(templateNumber),
                                    nullptr, onMessage, reinterpret_cast<LPARAM>(&text)));
}

}  // namespace Orvane::DebugPlatform
