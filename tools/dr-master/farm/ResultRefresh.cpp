#include "ResultRefresh.h"

#include <utility>

namespace Orvane {

ResultRefresh::ResultRefresh(const Frame& still, OutputFolder& outputFolder, SerialView& farmView)
    : frame(still), folder(outputFolder), view(farmView), thread([this] { run(); }) {}

ResultRefresh::~ResultRefresh() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    over.notify_all();
    thread.join();
}

void ResultRefresh::run() {
    using std::chrono::milliseconds;
    constexpr milliseconds shortest{2000};
    constexpr int share = 10;
    for (milliseconds pause = shortest; sleep(pause);) {
        const auto start = Frame::Clock::now();
        write();
        const auto taken = std::chrono::duration_cast<milliseconds>(Frame::Clock::now() - start);
        pause = std::max(shortest, share * taken);
    }
}

bool ResultRefresh::sleep(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex);
    return !over.wait_for(lock, time, [this] { return isOver; });
}

void ResultRefresh::write() {
    const int images = frame.result().count();
    if (images == written)
        return;
    try {
        folder.writeResult(frame.result().mean());
        written = images;
        view.tell(&FarmView::resultWritten, images, frame.noise(), false);
    } catch (const std::exception& failure) {
        // A viewer may have it open; the last one counts.
        if (!std::exchange(complained, true))
            view.tell(&FarmView::remark,
                      std::string("The result is not refreshed: ") + failure.what());
    }
}

}  // namespace Orvane
