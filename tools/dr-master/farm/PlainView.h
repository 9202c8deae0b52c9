#pragma once

#include <map>

#include "farm/FarmView.h"

namespace Orvane {

/// News line by line on standard output, faults on standard error: for files, pipes and logs.
class PlainView : public FarmView {
  public:
    void nodeChanged(const NodeStatus& status) override;
    void sceneSent(const TransferNews& news) override;
    void imageTaken(const ImageNews& news) override;
    void imageDamaged(const std::string& node, const std::string& file,
                      const std::string& why) override;
    void nodeLeftOut(const std::string& node, const Failure& why,
                     std::chrono::seconds untilRetry) override;
    void frameEnded(const FrameNews& news) override;
    void resultWritten(int images, std::optional<double> noise, bool isLast) override;
    void remark(const std::string& text) override;
    void ended(ExitStatus status, const std::vector<FrameNews>& frames) override;

  private:
    std::map<std::string, NodePhase> states;
};

}  // namespace Orvane
