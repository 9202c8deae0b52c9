#include "DecodeSlots.h"

#include <algorithm>
#include <thread>

namespace Orvane {

DecodeSlots::DecodeSlots() {
    constexpr unsigned most = 8;
    buffers.resize(std::clamp(std::thread::hardware_concurrency(), 1U, most));
}

ReceivedImage DecodeSlots::borrow() {
    std::unique_lock lock(mutex);
    freed.wait(lock, [this] { return !buffers.empty(); });
    ReceivedImage buffer = std::move(buffers.back());
    buffers.pop_back();
    return buffer;
}

void DecodeSlots::giveBack(ReceivedImage buffer) {
    const std::lock_guard lock(mutex);
    buffers.push_back(std::move(buffer));
    freed.notify_one();
}

}  // namespace Orvane
