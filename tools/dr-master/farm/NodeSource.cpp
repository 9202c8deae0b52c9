#include "NodeSource.h"

#include "DiscoveryTargets.h"
#include "protocol/Resolve.h"

namespace Orvane {

namespace {

/// A server looks for pings three times a second.
constexpr std::chrono::milliseconds window{1500};
/// How late a node that has just been started may join.
constexpr std::chrono::seconds interval{10};

}  // namespace

NodeSource::NodeSource(const RenderOrder& renderOrder) : order(renderOrder) {
    if (order.isForOneNode())
        note(order.server);
    for (const std::string& name : order.nodes)
        note(name);
    if (!order.findsNodes)
        return;
    search.emplace(discoveryTargets(order.searched), std::vector{order.hostYear});
    find();
    if (found.empty())
        throw nobodyAnswers(order.searched, order.hostYear);
    finding = std::thread([this] { goOnFinding(); });
}

NodeSource::~NodeSource() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    over.notify_all();
    if (finding.joinable())
        finding.join();
}

void NodeSource::find() {
    search->listen(window);
    search->unite();
    for (const auto& [address, releases] : search->nodes())
        note(address);
}

void NodeSource::goOnFinding() {
    const auto isTimeToEnd = [this] { return isOver; };
    for (;;) {
        {
            std::unique_lock lock(mutex);
            if (over.wait_for(lock, interval, isTimeToEnd))
                return;
        }
        search->ask();
        find();
    }
}

void NodeSource::addTo(Farm& farm) {
    const std::lock_guard lock(mutex);
    for (NodeWorker::Node& node : found)
        farm.add(std::move(node));
    found.clear();
}

void NodeSource::note(const std::string& name) {
    NodeWorker::Node node;
    node.name = printable(name);
    node.address = resolve(name).value_or(name);
    node.label = order.isForOneNode() ? "image" : "node-" + fileLabel(name);
    node.isTriedAgain = !order.isForOneNode();
    const std::lock_guard lock(mutex);
    // Long names, and those of other letters, may look the same in a file's name; their images
    // must not meet in one file.
    while (labels.try_emplace(node.label, name).first->second != name)
        node.label += '_';
    found.push_back(std::move(node));
}

}  // namespace Orvane
