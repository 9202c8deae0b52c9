#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "Discovery.h"
#include "farm/Farm.h"
#include "farm/Render.h"

namespace Orvane {

/// The nodes of a render: those that were named, and those that answer discovery while it goes on,
/// which is asked on a thread of its own.
class NodeSource {
  public:
    /// Throws Failure (NobodyAnswers) when nodes are to be found and nobody answers.
    explicit NodeSource(const RenderOrder& renderOrder);
    ~NodeSource();
    NodeSource(const NodeSource&) = delete;
    NodeSource& operator=(const NodeSource&) = delete;

    /// Adds what has become known since the last call. Does not wait.
    void addTo(Farm& farm);

  private:
    void note(const std::string& name);
    void find();
    void goOnFinding();

    const RenderOrder& order;
    std::optional<Discovery> search;
    std::mutex mutex;  // guards all below but the thread
    std::vector<NodeWorker::Node> found;
    std::map<std::string, std::string> labels;  // whose they are
    bool isOver = false;
    std::condition_variable over;
    std::thread finding;
};

}  // namespace Orvane
