#include "server/HostSwitch.h"

#include <utility>

namespace Orvane {

bool HostSwitch::turnOff() {
    const std::lock_guard<std::mutex> hold(lock);
    if (std::exchange(off, true) || host == nullptr)
        return false;
    host->end();
    return true;
}

bool HostSwitch::isOff() const {
    const std::lock_guard<std::mutex> hold(lock);
    return off;
}

void HostSwitch::setHost(Command* command) {
    const std::lock_guard<std::mutex> hold(lock);
    host = command;
    if (off && host != nullptr)
        host->end();
}

}  // namespace Orvane
