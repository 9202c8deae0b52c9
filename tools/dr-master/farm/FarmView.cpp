#include "FarmView.h"

namespace Orvane {

const char* nodeStateText(NodeState state) {
    switch (state) {
        case NodeState::Connecting:
            return "connecting";
        case NodeState::Busy:
            return "busy";
        case NodeState::Sending:
            return "sending";
        case NodeState::Waiting:
            return "waiting";
        case NodeState::Rendering:
            return "rendering";
        case NodeState::Ending:
            return "ending";
        case NodeState::LeftOut:
            return "left out";
        case NodeState::Idle:
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
