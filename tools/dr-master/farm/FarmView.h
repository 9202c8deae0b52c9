#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ExitStatus.h"

namespace Orvane {

enum class NodePhase {
    Connecting,
    Busy,     ///< connected; the node serves another master first
    Sending,  ///< the scene is on its way
    Waiting,  ///< for the first image
    Rendering,
    Ending,   ///< told to end; its last images are on their way
    LeftOut,  ///< after a failure, until it is tried again
    Idle      ///< nothing to do
};
/// One word for people and programs.
const char* nodePhaseText(NodePhase state);

struct NodeStatus {
    std::string node;
    NodePhase state = NodePhase::Idle;
    std::string frame;       ///< of an animation
    std::int64_t moved = 0;  ///< bytes of the transfer that is on its way, of `size`
    std::int64_t size = 0;
};

struct TransferNews {
    std::string node;
    std::int64_t bytes = 0;
    double seconds = 0;
};

struct ImageNews {
    TransferNews transfer;
    std::string file;  ///< empty when it was not kept
    std::string frame;
    int images = 0;  ///< of this picture, this one included
    std::optional<double> noise;
};

struct FrameNews {
    enum class Outcome {
        Open,  ///< neither of the others yet
        Finished,
        Skipped,  ///< its result was there
        Failed,   ///< as often as was allowed
        Retried   ///< failed, and goes to another node
    };

    std::string frame;
    Outcome outcome = Outcome::Open;
    double seconds = 0;
    int images = 0;
    std::vector<std::string> nodes;  ///< that were given it, in order
    int retries = 0;
};
const char* outcomeText(FrameNews::Outcome outcome);

/// Who wants to know how a render goes. Called by one thread at a time, from many; must not block
/// for long, nor throw.
class FarmView {
  public:
    virtual ~FarmView() = default;

    virtual void nodeChanged(const NodeStatus& status) = 0;
    virtual void sceneSent(const TransferNews& news) = 0;
    virtual void imageTaken(const ImageNews& news) = 0;
    /// `file` is empty when it was not kept.
    virtual void imageDamaged(const std::string& node, const std::string& file,
                              const std::string& why) = 0;
    virtual void nodeLeftOut(const std::string& node, const Failure& why,
                             std::chrono::seconds untilRetry) = 0;
    virtual void frameEnded(const FrameNews& news) = 0;
    virtual void resultWritten(int images, std::optional<double> noise, bool isLast) = 0;
    virtual void remark(const std::string& text) = 0;
    /// Called several times a second.
    virtual void redraw() {}
    /// The last call; `frames` is empty but for an animation.
    virtual void ended(ExitStatus status, const std::vector<FrameNews>& frames) = 0;
};

}  // namespace Orvane
