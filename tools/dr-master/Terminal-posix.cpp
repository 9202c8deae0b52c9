#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace Orvane::Terminal {

bool isPresent() {
    return isatty(STDOUT_FILENO) == 1;
}

void prepare() {}

std::pair<int, int> size() {
    winsize window{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0)
        return usualSize;
    return {window.ws_col, window.ws_row};
}

}  // namespace Orvane::Terminal
