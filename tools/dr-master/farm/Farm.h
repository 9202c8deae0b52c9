#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "farm/NodeWorker.h"

namespace Orvane {

/// The nodes of one render. Main thread only; each node has a thread of its own behind it.
class Farm {
  public:
    using milliseconds = std::chrono::milliseconds;

    /// `patience`: how long to go on while no node takes part.
    Farm(const FarmJob& farmJob, milliseconds patience) : job(farmJob), longestAlone(patience) {}

    /// A node takes part from now on, unless it does already or too many do. `address` is dotted,
    /// or a name that did not resolve.
    void add(NodeWorker::Node node);
    /// Sees to the render until the plan is over and every node has ended; calls `onTick` several
    /// times a second. Stops the plan at Ctrl-C, and when no node is left.
    void run(const std::function<void()>& onTick);

    /// Why the render ended before its plan was done.
    const std::optional<Failure>& failure() const { return failed; }
    bool hasDamage() const;

  private:
    bool anyNodeWorks() const;
    bool allNodesEnded() const;
    void stop(const Failure& why);
    void stopIfInterrupted();
    void stopIfAlone();
    Failure nobodyTookPart() const;
    bool isForOneNode() const;
    void noteFailureOfTheOnlyNode();

    const FarmJob& job;
    const milliseconds longestAlone;
    std::set<std::string> addresses;
    bool hasTooMany = false;  // said so
    Frame::Clock::time_point lastCompany = Frame::Clock::now();
    std::optional<Failure> failed;
    std::vector<std::unique_ptr<NodeWorker>> workers;  // last: they use the others
};

}  // namespace Orvane
