#include <cstdio>

#include "Commands.h"
#include "DiscoveryTargets.h"
#include "NodeTable.h"
#include "Terminal.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

/// A flood of pings is not answered; a round of this length is none.
constexpr std::chrono::milliseconds round{3000};
/// Each question leaves some lines in a free server's log.
constexpr seconds freeQuestionInterval{15};

/// What is known of one server; it stays in the table when it falls silent.
struct Node {
    HostVersions hosts;
    Clock::time_point lastAnswer;
    bool isFree = false;
};

class Watch {
  public:
    explicit Watch(const WatchOptions& options)
        : search(discoveryTargets(options.addresses), allReleases()) {}

    void look() {
        search.ask();
        search.listen(round);
        search.unite();
        for (const auto& [address, hosts] : search.nodes()) {
            nodes[address].hosts = hosts;
            nodes[address].lastAnswer = Clock::now();
        }
        if (Clock::now() >= nextFreeQuestion)
            askWhoIsFree();
    }

    bool hasNodes() const { return !nodes.empty(); }

    void print() const {
        if (Terminal::isPresent())
            std::fputs(Terminal::clearScreen, stdout);
        std::printf("%s\n", nodeTableHead().c_str());
        for (const auto& [address, node] : nodes)
            std::printf("%s\n", nodeTableLine(address, node.hosts, stateText(node)).c_str());
        std::fflush(stdout);
    }

  private:
    static bool isSilent(const Node& node) { return Clock::now() - node.lastAnswer >= 2 * round; }

    static std::string stateText(const Node& node) {
        const auto silence = std::chrono::duration_cast<seconds>(Clock::now() - node.lastAnswer);
        if (isSilent(node))
            return "silent for " + std::to_string(silence.count()) + " s";
        return node.isFree ? "free" : "busy";
    }

    void askWhoIsFree() {
        nextFreeQuestion = Clock::now() + freeQuestionInterval;
        std::vector<std::string> addresses;
        for (const auto& [address, node] : nodes)
            if (!isSilent(node))
                addresses.push_back(address);
        for (const auto& [address, isFree] : findFree(addresses))
            nodes[address].isFree = isFree;
    }

    Discovery search;
    std::map<std::string, Node> nodes;
    Clock::time_point nextFreeQuestion = Clock::now();
};

}  // namespace

void watchServers(const WatchOptions& options) {
    Watch watch(options);
    do {
        watch.look();
        if (options.once && !watch.hasNodes())
            throw nobodyAnswers(options.addresses);
        watch.print();
    } while (!options.once);
}

}  // namespace Orvane
