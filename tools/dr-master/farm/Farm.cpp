#include "Farm.h"

#include <algorithm>
#include <utility>

#include "Interruption.h"

namespace Orvane {

void Farm::add(NodeWorker::Node node) {
    // Each costs a thread, and answers to discovery are easily forged.
    constexpr std::size_t mostNodes = 1000;
    const std::string address = toAnsi(node.address);
    if (addresses.contains(address))
        return;
    if (addresses.size() == mostNodes) {
        if (!std::exchange(hasTooMany, true))
            job.view.tell(&FarmView::remark, "More than " + std::to_string(mostNodes) +
                                                 " nodes: the others are left out");
        return;
    }
    addresses.insert(address);
    workers.push_back(std::make_unique<NodeWorker>(job, std::move(node)));
}

void Farm::run(const std::function<void()>& onTick) {
    constexpr milliseconds pace{100};
    lastCompany = Frame::Clock::now();
    while (!job.plan.isOver() || !allNodesEnded()) {
        stopIfInterrupted();
        stopIfAlone();
        onTick();
        job.view.tell(&FarmView::redraw);
        std::this_thread::sleep_for(pace);
    }
    noteFailureOfTheOnlyNode();
}

bool Farm::anyNodeWorks() const {
    return std::any_of(workers.begin(), workers.end(),
                       [](const auto& worker) { return worker->takesPart(); });
}

bool Farm::allNodesEnded() const {
    return std::all_of(workers.begin(), workers.end(),
                       [](const auto& worker) { return worker->hasEnded(); });
}

bool Farm::hasDamage() const {
    return std::any_of(workers.begin(), workers.end(),
                       [](const auto& worker) { return worker->hasDamage(); });
}

void Farm::stop(const Failure& why) {
    if (job.plan.isOver())
        return;
    failed = why;
    job.plan.stop();
}

void Farm::stopIfInterrupted() {
    if (Interruption::hasCome())
        stop({ExitStatus::Interrupted, "Ended by Ctrl-C", "What came until then is kept."});
}

void Farm::stopIfAlone() {
    const auto now = Frame::Clock::now();
    if (anyNodeWorks())
        lastCompany = now;
    if (isForOneNode()) {
        if (allNodesEnded())
            job.plan.stop();
    } else if (now - lastCompany >= longestAlone) {
        stop(nobodyTookPart());
    }
}

Failure Farm::nobodyTookPart() const {
    for (const auto& worker : workers) {
        const auto last = worker->lastFailure();
        // It is not the nodes' fault, and says more.
        if (last && (last->status == ExitStatus::UnwritableFolder ||
                     last->status == ExitStatus::UnreadableScene))
            return *last;
    }
    return {ExitStatus::NoNodeLeft,
            "No node took part for " + std::to_string(longestAlone.count() / 1000) + " s",
            "See above what each said; --patience waits longer."};
}

bool Farm::isForOneNode() const {
    return workers.size() == 1 && !workers.front()->node().isTriedAgain;
}

void Farm::noteFailureOfTheOnlyNode() {
    if (!failed && isForOneNode())
        failed = workers.front()->lastFailure();
}

}  // namespace Orvane
