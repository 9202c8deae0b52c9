#include "app/Console.h"

#include <windows.h>

#include <shellapi.h>

namespace Orvane {

namespace {

const wchar_t* native(const String& text) {
    return reinterpret_cast<const wchar_t*>(text.terminated());
}

/// Null where there is none.
HANDLE standardStream(Answer kind) {
    const HANDLE stream =
        GetStdHandle(kind == Answer::Error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    return stream == INVALID_HANDLE_VALUE ? nullptr : stream;
}

bool writeToConsole(HANDLE console, const String& text) {
    DWORD written = 0;
    return WriteConsoleW(console, native(text), static_cast<DWORD>(text.length()), &written,
                         nullptr) != 0;
}

/// The handle may be one that stands for nothing, as a window program's often do.
bool writeTo(HANDLE stream, const String& text) {
    if (stream == nullptr)
        return false;
    if (writeToConsole(stream, text))
        return true;
    const char* const ansi = text.narrow();
    DWORD written = 0;
    return WriteFile(stream, ansi, static_cast<DWORD>(text.narrowSize()), &written, nullptr) != 0;
}

bool writeToConsoleOfParent(const String& text) {
    if (AttachConsole(ATTACH_PARENT_PROCESS) == 0)
        return false;
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (console == INVALID_HANDLE_VALUE)
        return false;
    // The interpreter does not wait for a window program and has written its prompt.
    const bool written = writeToConsole(console, "\n" + text);
    CloseHandle(console);
    return written;
}

}  // namespace

std::vector<String> typedArguments(int /*count*/, const char* const* /*values*/) {
    int count = 0;
    wchar_t** const values = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<String> arguments;
    for (int i = 1; i < count; ++i)
        arguments.emplace_back(std::u16string_view(reinterpret_cast<const char16_t*>(values[i])));
    LocalFree(values);
    return arguments;
}

void showAnswer(const String& text, Answer kind) {
    if (writeTo(standardStream(kind), text) || writeToConsoleOfParent(text))
        return;
    MessageBoxW(nullptr, native(text), L"Orvane DR Server",
                kind == Answer::Error ? MB_OK | MB_ICONEXCLAMATION : MB_OK);
}

}  // namespace Orvane
