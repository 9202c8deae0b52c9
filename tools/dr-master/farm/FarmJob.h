#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "OrvaneCore/String.h"
#include "OutputFolder.h"
#include "farm/DecodeSlots.h"
#include "farm/Pace.h"
#include "farm/SerialView.h"
#include "farm/WorkPlan.h"

namespace Orvane {

/// What all nodes of a render share. References stay valid as long as any node works.
struct FarmJob {
    WorkPlan& plan;
    OutputFolder& folder;
    DecodeSlots& decoders;
    Pace& pace;
    SerialView& view;

    std::string scenePath{};
    String hostVersion{};
    String camera{};
    std::chrono::milliseconds lastImages{};  ///< how long a node may take to end
    /// How long a node may be busy before that is a failure; nothing: as long as the render goes
    /// on.
    std::optional<std::chrono::milliseconds> busyPatience{};
    bool isAnimation = false;
    /// Whether a damaged image is the node's failure, instead of that image's alone.
    bool leavesOutDamaged = true;
    bool keepsImages = true;
    /// Called for each image that is announced; the first call is through before any other.
    std::function<void()> prepare = [] {};
};

}  // namespace Orvane
