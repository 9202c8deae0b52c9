#include "JsonView.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace Orvane {

namespace {

using Json = nlohmann::ordered_json;

Json noiseValue(std::optional<double> noise) {
    return noise ? Json(*noise) : Json();
}

Json described(const FrameNews& news) {
    return {{"frame", news.frame},           {"outcome", outcomeText(news.outcome)},
            {"renderSeconds", news.seconds}, {"images", news.images},
            {"nodes", news.nodes},           {"retries", news.retries}};
}

}  // namespace

void JsonView::print(const char* event, const Json& members) const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    constexpr double milliseconds = 1000;
    Json line{{"event", event},
              {"seconds", std::round(elapsed.count() * milliseconds) / milliseconds}};
    line.update(members);
    // A name typed in another encoding must not cost the line.
    const auto onBadText = Json::error_handler_t::replace;
    std::printf("%s\n", line.dump(-1, ' ', false, onBadText).c_str());
    std::fflush(stdout);
}

void JsonView::nodeChanged(const NodeStatus& status) {
    const auto [known, isNew] = states.try_emplace(status.node, status.state);
    if (!isNew && known->second == status.state)
        return;
    known->second = status.state;
    Json members{{"node", status.node}, {"state", nodePhaseText(status.state)}};
    if (!status.frame.empty())
        members["frame"] = status.frame;
    print("node", members);
}

void JsonView::sceneSent(const TransferNews& news) {
    print("scene", {{"node", news.node}, {"bytes", news.bytes}, {"transferSeconds", news.seconds}});
}

void JsonView::imageTaken(const ImageNews& news) {
    Json members{{"node", news.transfer.node},
                 {"bytes", news.transfer.bytes},
                 {"transferSeconds", news.transfer.seconds},
                 {"file", news.file.empty() ? Json() : Json(news.file)},
                 {"images", news.images},
                 {"noise", noiseValue(news.noise)}};
    if (!news.frame.empty())
        members["frame"] = news.frame;
    print("image", members);
}

void JsonView::imageDamaged(const std::string& node, const std::string& file,
                            const std::string& why) {
    print("damaged",
          {{"node", node}, {"file", file.empty() ? Json() : Json(file)}, {"text", printable(why)}});
}

void JsonView::nodeLeftOut(const std::string& node, const Failure& why,
                           std::chrono::seconds untilRetry) {
    print("leftOut",
          {{"node", node},
           {"status", static_cast<int>(why.status)},
           {"text", printable(why.what())},
           {"remedy", why.remedy},
           {"retrySeconds", untilRetry.count() > 0 ? Json(untilRetry.count()) : Json()}});
}

void JsonView::frameEnded(const FrameNews& news) {
    print("frame", described(news));
}

void JsonView::resultWritten(int images, std::optional<double> noise, bool isLast) {
    print("result", {{"images", images}, {"noise", noiseValue(noise)}, {"last", isLast}});
}

void JsonView::remark(const std::string& text) {
    print("remark", {{"text", text}});
}

void JsonView::ended(ExitStatus status, const std::vector<FrameNews>& frames) {
    Json members{{"status", static_cast<int>(status)}};
    for (const FrameNews& frame : frames)
        members["frames"].push_back(described(frame));
    print("end", members);
}

}  // namespace Orvane
