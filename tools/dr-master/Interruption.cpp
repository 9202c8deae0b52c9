#include "Interruption.h"

#include <atomic>
#include <cstdlib>

#include "ExitStatus.h"
#include "TemporaryPath.h"

namespace Orvane {

namespace {

std::atomic<int> signals = 0;

}  // namespace

bool Interruption::hasCome() {
    return signals > 0;
}

void Interruption::come() {
    if (++signals == 1)
        return;
    TemporaryPath::removeAll();
    std::_Exit(static_cast<int>(ExitStatus::Interrupted));
}

}  // namespace Orvane
