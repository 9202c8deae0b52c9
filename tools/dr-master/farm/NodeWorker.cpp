#include "NodeWorker.h"

namespace Orvane {

namespace {

constexpr std::chrono::seconds firstPause{2};
constexpr std::chrono::seconds longestPause{60};

}  // namespace

NodeWorker::NodeWorker(const FarmJob& farmJob, Node workedFor)
    : job(farmJob), self(std::move(workedFor)), thread([this] { run(); }) {}

NodeWorker::~NodeWorker() {
    thread.join();
}

std::optional<Failure> NodeWorker::lastFailure() const {
    const std::lock_guard lock(mutex);
    return failed;
}

void NodeWorker::run() {
    for (;;) {
        showState(NodePhase::Idle);
        const auto lease = job.plan.take(self.name);
        if (lease == nullptr || (!render(lease) && !self.isTriedAgain))
            break;
    }
    over = true;
}

bool NodeWorker::takesPart() const {
    const std::lock_guard lock(mutex);
    return current != nullptr && current->isStarted &&
           (current->hasImage || failedJobs.mayStillSucceed(current->age()));
}

void NodeWorker::hold(const std::shared_ptr<Lease>& lease) {
    const std::lock_guard lock(mutex);
    current = lease;
}

bool NodeWorker::render(const std::shared_ptr<Lease>& lease) {
    hold(lease);
    const LeaseEnd end = attempt(*lease);
    hold(nullptr);
    job.plan.giveBack(self.name, lease, end);
    if (end == LeaseEnd::Failed && self.isTriedAgain)
        sleep(pause);
    return end != LeaseEnd::Failed;
}

LeaseEnd NodeWorker::attempt(Lease& lease) {
    NodeJob nodeJob(job, self.name, self.label, lease);
    std::optional<Failure> failure;
    LeaseEnd end = LeaseEnd::Failed;
    try {
        end = nodeJob.run(self.address);
    } catch (const Failure& thrown) {
        failure = thrown;
    } catch (const std::exception& error) {
        failure = Failure(ExitStatus::Unexpected, error.what());
    }
    if (nodeJob.hasDamage())
        damaged = true;
    // A node that did something is not one that is still as wrong as before.
    if (lease.hasImage || !failure)
        noteSuccess();
    if (failure)
        noteFailure(*failure, lease);
    return end;
}

void NodeWorker::noteSuccess() {
    pause = seconds(0);
    const std::lock_guard lock(mutex);
    failedJobs = {};
}

void NodeWorker::noteFailure(const Failure& failure, const Lease& lease) {
    pause = std::clamp(2 * pause, firstPause, longestPause);
    {
        const std::lock_guard lock(mutex);
        failed = failure;
        if (lease.isStarted && !lease.hasImage)
            failedJobs.add(lease.age());
    }
    showState(NodePhase::LeftOut);
    job.view.tell(&FarmView::nodeLeftOut, self.name, failure,
                  self.isTriedAgain ? pause : seconds(0));
}

void NodeWorker::sleep(seconds time) {
    constexpr std::chrono::milliseconds pace{100};
    const auto end = Frame::Clock::now() + time;
    while (!job.plan.isOver() && Frame::Clock::now() < end)
        std::this_thread::sleep_for(pace);
}

void NodeWorker::showState(NodePhase state) {
    NodeStatus status;
    status.node = self.name;
    status.state = state;
    job.view.tell(&FarmView::nodeChanged, status);
}

}  // namespace Orvane
