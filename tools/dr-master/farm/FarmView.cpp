#include "FarmView.h"

namespace Orvane {

const char* nodePhaseText(NodePhase state) {
    switch (state) {
        case NodePhase::Connecting:
            return "connecting";
        case NodePhase::Busy:
            return "busy";
        case NodePhase::Sending:
            return "sending";
        case NodePhase::Waiting:
            return "waiting";
        case NodePhase::Rendering:
            return "rendering";
        case NodePhase::Ending:
            return "ending";
        case NodePhase::LeftOut:
            return "left out";
        case NodePhase::Idle:
            break;
    }
    return "idle";
}

const char* outcomeText(FrameNews::Outcome outcome) {
    switch (outcome) {
        case FrameNews::Outcome::Finished:
            return "finished";
        case FrameNews::Outcome::Skipped:
            return "skipped";
        case FrameNews::Outcome::Failed:
            return "failed";
        case FrameNews::Outcome::Retried:
            return "retried";
        case FrameNews::Outcome::Open:
            break;
    }
    return "open";
}

}  // namespace Orvane
