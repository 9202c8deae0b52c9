#pragma once

#include <chrono>
#include <map>
#include <nlohmann/json_fwd.hpp>

#include "farm/FarmView.h"

namespace Orvane {

/// One JSON object per event and line on standard output, for pipelines. Every object has "event"
/// and "seconds" since the start; what else is described in the guide.
class JsonView : public FarmView {
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
    void print(const char* event, const nlohmann::ordered_json& members) const;

    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::map<std::string, NodePhase> states;
};

}  // namespace Orvane
