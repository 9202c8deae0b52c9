#pragma once

#include <chrono>
#include <vector>

#include "farm/PlainView.h"

namespace Orvane {

/// A line per node and one for all, redrawn in place on a terminal; what is worth keeping scrolls
/// by above them.
class TerminalView : public FarmView {
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
    void redraw() override;
    void ended(ExitStatus status, const std::vector<FrameNews>& frames) override;

  private:
    using Clock = std::chrono::steady_clock;

    struct Row {
        NodeStatus status;
        int images = 0;
        std::string rate;
        std::string remark;
        Clock::time_point firstWork;
    };

    Row& rowOf(const std::string& node);
    void keep(const std::string& line);
    void draw();
    void takeAway();
    void print(const std::string& line, int width);
    std::string lineOf(const Row& row) const;
    std::string totalLine() const;

    std::vector<Row> rows;
    std::vector<std::string> kept;  // to be printed above the table
    int drawnLines = 0;
    int images = 0;
    int frames = 0;
    std::optional<double> lastNoise;
    int resultImages = 0;
    Clock::time_point start = Clock::now();
    Clock::time_point nextDrawing;
};

}  // namespace Orvane
