#include <cstdio>

#include "Commands.h"
#include "Discovery.h"
#include "Terminal.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;

/// A server looks for pings three times a second; six of these make a round of three seconds.
constexpr std::chrono::milliseconds pingWindow{500};

/// What is known of one server; it stays in the table when it falls silent.
struct Node {
    HostVersions hosts;
    Clock::time_point lastAnswer;
};
using Nodes = std::map<std::string, Node>;

void note(Nodes& nodes, const std::map<std::string, HostVersions>& survey) {
    for (const auto& [address, hosts] : survey)
        nodes[address] = {hosts, Clock::now()};
}

std::string versionsText(const HostVersions& hosts) {
    std::string text;
    for (const auto& [version, delay] : hosts)
        text += std::to_string(version) + ' ';
    return text;
}

std::chrono::milliseconds quickest(const HostVersions& hosts) {
    std::chrono::milliseconds best = std::chrono::milliseconds::max();
    for (const auto& [version, delay] : hosts)
        best = std::min(best, delay);
    return best;
}

std::string ageText(const Node& node) {
    const auto silence =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - node.lastAnswer);
    constexpr std::chrono::seconds twoRounds{6};
    const std::string seconds = std::to_string(silence.count());
    return silence < twoRounds ? "answers" : "silent for " + seconds + " s";
}

void print(const Nodes& nodes) {
    if (Terminal::isPresent())
        std::fputs(Terminal::clearScreen, stdout);
    std::printf("%-15s  %-29s  %7s  %s\n", "address", "3ds Max", "ms", "state");
    for (const auto& [address, node] : nodes)
        std::printf("%-15s  %-29s  %7lld  %s\n", address.c_str(), versionsText(node.hosts).c_str(),
                    static_cast<long long>(quickest(node.hosts).count()), ageText(node).c_str());
    std::fflush(stdout);
}

}  // namespace

void watchServers(const WatchOptions& options) {
    Nodes nodes;
    do {
        note(nodes, surveyHostVersions(options.address, pingWindow));
        if (options.once && nodes.empty())
            throw nobodyAnswers(options.address);
        print(nodes);
    } while (!options.once);
}

}  // namespace Orvane
