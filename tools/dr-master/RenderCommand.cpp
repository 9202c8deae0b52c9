#include <algorithm>
#include <sstream>
#include <utility>

#include "Commands.h"
#include "Discovery.h"
#include "DiscoveryTargets.h"
#include "FrameList.h"
#include "NativePath.h"
#include "SceneFile.h"
#include "farm/Render.h"

namespace Orvane {

namespace {

std::optional<std::chrono::milliseconds> milliseconds(std::optional<double> seconds) {
    if (!seconds)
        return std::nullopt;
    // Not less than what can be counted.
    return std::chrono::milliseconds(std::max(static_cast<long long>(*seconds * 1000), 1LL));
}

FrameGoal goalOf(const RenderOptions& options) {
    FrameGoal goal{options.images, milliseconds(options.seconds), options.noise};
    if (!goal.images && !goal.time && !goal.noise)
        goal.images = 1;
    return goal;
}

std::string firstServer(int hostYear) {
    constexpr std::chrono::seconds window{3};
    Discovery search(allNetworks(), {hostYear});
    search.listen(window, [&search] { return !search.nodes().empty(); });
    if (search.nodes().empty())
        throw nobodyAnswers({}, hostYear);
    return search.nodes().begin()->first;
}

std::vector<std::string> partsOf(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, ',');)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

void chooseNodes(const RenderOptions& options, RenderOrder& order) {
    order.searched = options.addresses;
    if (options.nodes == "all") {
        order.findsNodes = true;
        return;
    }
    order.nodes = partsOf(options.nodes);
    if (!order.nodes.empty() && std::count(order.nodes.begin(), order.nodes.end(), "all") == 0)
        return;
    if (!options.nodes.empty())
        throw Failure(ExitStatus::WrongUsage, "--nodes is either all or names with commas between");
    order.server = options.server.empty() ? firstServer(options.hostYear) : options.server;
    // A frame of many is tried again, on the only node too.
    if (!order.frames.empty())
        order.nodes.push_back(std::exchange(order.server, {}));
}

}  // namespace

void renderScene(const RenderOptions& options) {
    openScene(options.scene);
    RenderOrder order;
    order.scenePath = options.scene;
    order.hostYear = options.hostYear;
    order.camera = options.camera;
    order.frame = options.frame;
    if (!options.frames.empty())
        order.frames = framesOf(options.frames);
    order.goal = goalOf(options);
    order.folder = nativePath(options.output);
    constexpr double bytesPerMegabyte = 1e6;
    order.mostKeptBytes = static_cast<std::uint64_t>(options.keptMegabytes * bytesPerMegabyte);
    order.patience = milliseconds(options.patience);
    order.longestSilence = milliseconds(options.silence);
    order.lastImages = *milliseconds(options.lastImages);
    order.json = options.json;
    chooseNodes(options, order);
    render(order);
}

}  // namespace Orvane
