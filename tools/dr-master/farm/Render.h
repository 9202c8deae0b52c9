#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "farm/Frame.h"

namespace Orvane {

/// What is to be rendered, by whom, and when it is enough.
struct RenderOrder {
    std::string scenePath;
    int hostYear = 0;
    std::string camera;
    std::string frame;        ///< of a still
    std::vector<int> frames;  ///< of an animation; empty: a still
    FrameGoal goal;           ///< of the still, or of each frame

    std::string server;                 ///< one node, whose failure is the render's
    std::vector<std::string> nodes;     ///< several, tried again after a failure
    bool findsNodes = false;            ///< also all that answer discovery, now and later
    std::vector<std::string> searched;  ///< where discovery asks; empty: on all networks

    std::filesystem::path folder;
    std::uint64_t mostKeptBytes = 0;
    std::optional<std::chrono::milliseconds> patience;
    std::optional<std::chrono::milliseconds> longestSilence;
    std::chrono::milliseconds lastImages{};
    bool json = false;

    bool isForOneNode() const { return !server.empty(); }
};

/// Renders, and tells standard output how it goes. Main thread only. Throws Failure after whatever
/// came is written.
void render(const RenderOrder& order);

}  // namespace Orvane
