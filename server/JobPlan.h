#pragma once

#include "config/DrConfig.h"
#include "protocol/Messages.h"

namespace Orvane {

/// What is to be done for a master, decided before anything is done.
struct JobPlan {
    FrameInfo request;
    std::int32_t sceneYear = 0;  ///< the release that made the scene; 0 if it cannot be read
    std::int32_t hostYear = 0;   ///< the installed release that is to render it
    String refusal;              ///< the log's line if it is not to be done; else empty

    bool isRefused() const { return !refusal.isEmpty(); }
};

/// Chooses the host, and looks at the texts that are to reach a command interpreter.
JobPlan planJob(const FrameInfo& request, const DrConfig& config);

}  // namespace Orvane
