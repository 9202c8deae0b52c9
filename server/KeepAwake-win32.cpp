#include "server/KeepAwake.h"

#include <windows.h>

namespace Orvane {

struct KeepAwake::Native {};

KeepAwake::KeepAwake() {
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
}

KeepAwake::~KeepAwake() {
    SetThreadExecutionState(ES_CONTINUOUS);
}

}  // namespace Orvane
