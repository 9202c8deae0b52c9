#pragma once

#include <atomic>
#include <memory>

#include "farm/Frame.h"

namespace Orvane {

/// A frame in the hands of one node.
struct Lease {
    explicit Lease(std::shared_ptr<Frame> leased) : frame(std::move(leased)) {}

    const std::shared_ptr<Frame> frame;
    /// The node has answered: from now on a failure is one of the frame too.
    std::atomic<bool> isStarted = false;
    /// When it did.
    std::atomic<Frame::Clock::time_point> start{};
    /// An image of the node has been counted.
    std::atomic<bool> hasImage = false;
    /// The node lets the frame wait behind another master's job.
    std::atomic<bool> isBusy = false;
    /// Another node has been given the frame.
    std::atomic<bool> isRevoked = false;

    void begin() {
        start = Frame::Clock::now();
        isStarted = true;
    }
    std::chrono::milliseconds age() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Frame::Clock::now() -
                                                                     start.load());
    }
};

enum class LeaseEnd {
    Finished,   ///< the goal was reached
    Withdrawn,  ///< revoked, or the plan was stopped
    Failed
};

/// What is to be rendered, and by whom. For any thread.
class WorkPlan {
  public:
    virtual ~WorkPlan() = default;

    /// What this node is to render next; waits until there is something. Null when the plan is
    /// over.
    virtual std::shared_ptr<Lease> take(const std::string& node) = 0;
    virtual void giveBack(const std::string& node, const std::shared_ptr<Lease>& lease,
                          LeaseEnd end) = 0;
    /// No more work is given out, and the work in hand is to end.
    virtual void stop() = 0;
    virtual bool isStopped() const = 0;
    /// All is done, or the plan is stopped.
    virtual bool isOver() const = 0;

    /// Whether a node is to go on with what it has.
    bool wants(const Lease& lease) const {
        return !isStopped() && !lease.isRevoked && !lease.frame->isReached();
    }
};

}  // namespace Orvane
