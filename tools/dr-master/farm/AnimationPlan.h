#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "OutputFolder.h"
#include "farm/FarmView.h"
#include "farm/SerialView.h"
#include "farm/WorkPlan.h"

namespace Orvane {

/// Many frames, each by one node: frame-0001.exr and so on, whose results are written as soon as
/// their goal is reached. A frame whose result is there already is done.
class AnimationPlan : public WorkPlan {
  public:
    AnimationPlan(const std::vector<int>& numbers, FrameGoal frameGoal, OutputFolder& outputFolder,
                  SerialView& farmView);

    /// The next frame that nobody has. Otherwise one that waits behind another master's job on a
    /// busy node. One that failed on this node goes to it again only while it is alone.
    std::shared_ptr<Lease> take(const std::string& node) override;
    void giveBack(const std::string& node, const std::shared_ptr<Lease>& lease,
                  LeaseEnd end) override;
    void stop() override;
    bool isStopped() const override { return stopped; }
    bool isOver() const override;

    std::vector<FrameNews> table() const;
    /// Why no result can be written, if that stopped the plan.
    std::optional<Failure> failure() const;

  private:
    enum class State { Pending, Taken, Done };

    struct Entry {
        FrameNews news;
        State state = State::Pending;
        std::shared_ptr<Lease> lease;
        std::string holder;
        std::set<std::string> failedOn;
    };

    // All but write() with the mutex locked.
    Entry* choose(const std::string& node);
    Entry* pendingFor(const std::string& node);
    Entry* waitingElsewhere(const std::string& node);
    bool isAlone(const std::string& node) const;
    std::shared_ptr<Lease> lend(Entry& entry, const std::string& node);
    Entry* entryOf(const std::shared_ptr<Lease>& lease);
    bool allDone() const;
    void finish(Entry& entry, FrameNews::Outcome outcome);
    void noteFailure(Entry& entry, const std::string& node);
    /// False when the result cannot be written, which stops the plan.
    bool write(const Frame& frame, const std::string& name);

    const FrameGoal goal;
    OutputFolder& folder;
    SerialView& view;
    std::atomic<bool> stopped = false;
    mutable std::mutex mutex;  // guards all below
    std::condition_variable changed;
    std::vector<Entry> entries;  // their number and order are constant
    std::set<std::string> waiting;
    std::set<std::string> wereBusy;
    std::optional<Failure> failed;
};

}  // namespace Orvane
