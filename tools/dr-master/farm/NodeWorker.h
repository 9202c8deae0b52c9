#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "farm/FailedJobs.h"
#include "farm/NodeJob.h"

namespace Orvane {

/// One node of a render, on a thread of its own: takes work until the plan is over, and tries again
/// with growing pauses after a failure.
class NodeWorker {
  public:
    struct Node {
        std::string name;   ///< for people
        String address;     ///< to connect to
        std::string label;  ///< of its images
        bool isTriedAgain = true;
    };

    /// Begins to work.
    NodeWorker(const FarmJob& farmJob, Node workedFor);
    /// Waits for the end of the work.
    ~NodeWorker();
    NodeWorker(const NodeWorker&) = delete;
    NodeWorker& operator=(const NodeWorker&) = delete;

    const Node& node() const { return self; }
    /// Whether the node has answered and works, and something may come of it.
    bool takesPart() const;
    bool hasEnded() const { return over; }
    bool hasDamage() const { return damaged; }
    /// What went wrong last; for a node that is not tried again, why it ended.
    std::optional<Failure> lastFailure() const;

  private:
    using seconds = std::chrono::seconds;

    void run();
    bool render(const std::shared_ptr<Lease>& lease);
    void hold(const std::shared_ptr<Lease>& lease);
    LeaseEnd attempt(Lease& lease);
    void noteSuccess();
    void noteFailure(const Failure& failure, const Lease& lease);
    void sleep(seconds time);
    void showState(NodePhase state);

    const FarmJob& job;
    const Node self;
    std::atomic<bool> damaged = false;
    std::atomic<bool> over = false;
    seconds pause{0};
    mutable std::mutex mutex;  // guards the next three
    std::optional<Failure> failed;
    std::shared_ptr<Lease> current;
    FailedJobs failedJobs;
    std::thread thread;  // last: it uses the others
};

}  // namespace Orvane
