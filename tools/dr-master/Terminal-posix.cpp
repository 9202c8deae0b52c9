#include "Terminal.h"

#include <unistd.h>

namespace Orvane::Terminal {

bool isPresent() {
    return isatty(STDOUT_FILENO) == 1;
}

void prepare() {}

}  // namespace Orvane::Terminal
