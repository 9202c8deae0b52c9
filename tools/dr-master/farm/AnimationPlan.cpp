#include "AnimationPlan.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Orvane {

namespace {

constexpr int mostAttempts = 3;
/// That a node has become busy is found out this late.
constexpr std::chrono::milliseconds pace{100};

std::string resultName(const std::string& frame) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "frame-%04d.exr", std::stoi(frame));
    return name.data();
}

}  // namespace

AnimationPlan::AnimationPlan(const std::vector<int>& numbers, FrameGoal frameGoal,
                             OutputFolder& outputFolder, SerialView& farmView)
    : goal(frameGoal), folder(outputFolder), view(farmView) {
    for (const int number : numbers) {
        Entry entry;
        entry.news.frame = std::to_string(number);
        entries.push_back(std::move(entry));
    }
    for (Entry& entry : entries)
        if (folder.has(resultName(entry.news.frame)))
            finish(entry, FrameNews::Outcome::Skipped);
}

bool AnimationPlan::allDone() const {
    return std::all_of(entries.begin(), entries.end(),
                       [](const Entry& entry) { return entry.state == State::Done; });
}

bool AnimationPlan::isOver() const {
    const std::lock_guard lock(mutex);
    return stopped || allDone();
}

void AnimationPlan::stop() {
    stopped = true;
    changed.notify_all();
}

std::shared_ptr<Lease> AnimationPlan::take(const std::string& node) {
    std::unique_lock lock(mutex);
    waiting.insert(node);
    Entry* entry = nullptr;
    while (!stopped && !allDone() && (entry = choose(node)) == nullptr)
        changed.wait_for(lock, pace);
    waiting.erase(node);
    return entry != nullptr && !stopped ? lend(*entry, node) : nullptr;
}

AnimationPlan::Entry* AnimationPlan::choose(const std::string& node) {
    Entry* const pending = pendingFor(node);
    return pending != nullptr ? pending : waitingElsewhere(node);
}

AnimationPlan::Entry* AnimationPlan::pendingFor(const std::string& node) {
    const bool alone = isAlone(node);
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.state == State::Pending && (alone || !entry.failedOn.contains(node));
    });
    return found == entries.end() ? nullptr : &*found;
}

bool AnimationPlan::isAlone(const std::string& node) const {
    const bool othersWait = waiting.size() > waiting.count(node);
    return !othersWait && std::none_of(entries.begin(), entries.end(), [](const Entry& entry) {
        return entry.state == State::Taken;
    });
}

AnimationPlan::Entry* AnimationPlan::waitingElsewhere(const std::string& node) {
    // Two busy nodes would otherwise take it from each other, and lose their turns again and again.
    if (wereBusy.contains(node))
        return nullptr;
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.state == State::Taken && entry.lease->isBusy && !entry.lease->isStarted &&
               !entry.failedOn.contains(node);
    });
    return found == entries.end() ? nullptr : &*found;
}

std::shared_ptr<Lease> AnimationPlan::lend(Entry& entry, const std::string& node) {
    if (entry.state == State::Taken) {
        entry.lease->isRevoked = true;
        wereBusy.insert(entry.holder);
    }
    entry.state = State::Taken;
    entry.holder = node;
    entry.lease = std::make_shared<Lease>(std::make_shared<Frame>(entry.news.frame, goal));
    return entry.lease;
}

AnimationPlan::Entry* AnimationPlan::entryOf(const std::shared_ptr<Lease>& lease) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry& entry) { return entry.lease == lease; });
    return found == entries.end() ? nullptr : &*found;
}

void AnimationPlan::giveBack(const std::string& node, const std::shared_ptr<Lease>& lease,
                             LeaseEnd end) {
    const Frame& frame = *lease->frame;
    const bool written =
        end == LeaseEnd::Finished && !lease->isRevoked && write(frame, frame.text());
    const std::lock_guard lock(mutex);
    if (lease->isStarted)
        wereBusy.erase(node);
    Entry* const entry = entryOf(lease);
    if (entry == nullptr)
        return;
    entry->lease = nullptr;
    if (lease->isStarted)
        entry->news.nodes.push_back(node);
    entry->news.seconds = frame.seconds();
    entry->news.images = frame.result().count();
    if (written)
        finish(*entry, FrameNews::Outcome::Finished);
    else if (end == LeaseEnd::Failed && lease->isStarted)
        noteFailure(*entry, node);
    else
        entry->state = State::Pending;
    changed.notify_all();
}

void AnimationPlan::noteFailure(Entry& entry, const std::string& node) {
    entry.failedOn.insert(node);
    entry.state = State::Pending;
    const int attempts = ++entry.news.retries;
    if (attempts < mostAttempts) {
        entry.news.outcome = FrameNews::Outcome::Retried;
        view.tell(&FarmView::frameEnded, entry.news);
        return;
    }
    // The last attempt was no retry of anything.
    --entry.news.retries;
    finish(entry, FrameNews::Outcome::Failed);
}

void AnimationPlan::finish(Entry& entry, FrameNews::Outcome outcome) {
    entry.state = State::Done;
    entry.news.outcome = outcome;
    view.tell(&FarmView::frameEnded, entry.news);
}

bool AnimationPlan::write(const Frame& frame, const std::string& name) {
    try {
        folder.writeFrame(frame.result().mean(), resultName(name));
        return true;
    } catch (const Failure& failure) {
        stop();
        const std::lock_guard lock(mutex);
        failed = failure;
        return false;
    }
}

std::vector<FrameNews> AnimationPlan::table() const {
    const std::lock_guard lock(mutex);
    std::vector<FrameNews> news;
    for (const Entry& entry : entries) {
        news.push_back(entry.news);
        if (entry.state != State::Done)
            news.back().outcome = FrameNews::Outcome::Open;
    }
    return news;
}

std::optional<Failure> AnimationPlan::failure() const {
    const std::lock_guard lock(mutex);
    return failed;
}

}  // namespace Orvane
