#pragma once

#include "farm/WorkPlan.h"

namespace Orvane {

/// One picture by all nodes.
class StillPlan : public WorkPlan {
  public:
    explicit StillPlan(std::shared_ptr<Frame> still) : frame(std::move(still)) {}

    std::shared_ptr<Lease> take(const std::string& /*node*/) override {
        return isOver() ? nullptr : std::make_shared<Lease>(frame);
    }
    void giveBack(const std::string& /*node*/, const std::shared_ptr<Lease>& /*lease*/,
                  LeaseEnd /*end*/) override {}
    void stop() override { stopped = true; }
    bool isStopped() const override { return stopped; }
    bool isOver() const override { return stopped || frame->isReached(); }

  private:
    const std::shared_ptr<Frame> frame;
    std::atomic<bool> stopped = false;
};

}  // namespace Orvane
