#pragma once

#include <functional>

#include "farm/FarmJob.h"

namespace Orvane {

/// One connection to one node, for one frame: from the connect to the node's last image. On a
/// thread of its own.
class NodeJob {
  public:
    /// `label` names the images that are kept.
    NodeJob(const FarmJob& farmJob, std::string nodeName, std::string imageLabel, Lease& leased);

    /// Throws Failure. Images that came before it have been counted.
    LeaseEnd run(const String& address);

    bool hasDamage() const { return damaged; }

  private:
    class Withdrawn {};

    void awaitTurn(class JobSession& session);
    void sendScene(JobSession& session);
    LeaseEnd collect(JobSession& session);
    void takeImage(JobSession& session,
                   const std::function<void(std::int64_t moved, std::int64_t size)>& watch);
    void fold(const std::filesystem::path& file, const TransferNews& transfer);
    void noteForgotten(int images);
    void noteDamage(const std::filesystem::path& file, const Failure& failure);
    void show(NodePhase state);
    void showTransfer(std::int64_t moved, std::int64_t size);

    const FarmJob& job;
    const std::string label;
    Lease& lease;
    NodeStatus status;
    Frame::Clock::time_point lastImage;
    bool damaged = false;
};

}  // namespace Orvane
