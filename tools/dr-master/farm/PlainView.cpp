#include "PlainView.h"

#include <cstdio>

#include "farm/Lines.h"

namespace Orvane {

namespace {

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void complain(const std::string& line) {
    std::fprintf(stderr, "dr-master: %s\n", line.c_str());
}

}  // namespace

void PlainView::nodeChanged(const NodeStatus& status) {
    const auto [known, isNew] = states.try_emplace(status.node, NodePhase::Idle);
    if (known->second == status.state)
        return;
    known->second = status.state;
    if (status.state == NodePhase::Busy)
        say(status.node + ": busy with another master, joins when it is free");
}

void PlainView::sceneSent(const TransferNews& news) {
    say(Lines::sceneSent(news));
}

void PlainView::imageTaken(const ImageNews& news) {
    say(Lines::imageTaken(news));
}

void PlainView::imageDamaged(const std::string& node, const std::string& file,
                             const std::string& why) {
    complain(Lines::imageDamaged(node, file, why));
}

void PlainView::nodeLeftOut(const std::string& node, const Failure& why,
                            std::chrono::seconds untilRetry) {
    // Without another try the failure is the command's, which says it at its end.
    if (untilRetry.count() > 0)
        complain(Lines::nodeLeftOut(node, why, untilRetry));
}

void PlainView::frameEnded(const FrameNews& news) {
    say(Lines::frameEnded(news));
}

void PlainView::resultWritten(int images, std::optional<double> noise, bool isLast) {
    if (isLast)
        say(Lines::resultWritten(images, noise));
}

void PlainView::remark(const std::string& text) {
    complain(text);
}

void PlainView::ended(ExitStatus /*status*/, const std::vector<FrameNews>& frames) {
    if (frames.empty())
        return;
    for (const std::string& line : Lines::table(frames))
        say(line);
}

}  // namespace Orvane
