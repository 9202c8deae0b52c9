#include "Terminal.h"

#include <io.h>
#include <windows.h>

namespace Orvane::Terminal {

bool isPresent() {
    constexpr int standardOutput = 1;
    return _isatty(standardOutput) != 0;
}

void prepare() {
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) != 0)
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

std::pair<int, int> size() {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen) == 0)
        return usualSize;
    const SMALL_RECT& window = screen.srWindow;
    return {window.Right - window.Left + 1, window.Bottom - window.Top + 1};
}

}  // namespace Orvane::Terminal
