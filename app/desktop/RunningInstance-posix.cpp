#include "app/desktop/RunningInstance.h"

namespace Orvane::RunningInstance {

std::span<const Option> options() {
    return {};
}

std::optional<int> leaveTheWork() {
    return std::nullopt;
}

bool isWindowWanted() {
    return false;
}

}  // namespace Orvane::RunningInstance
