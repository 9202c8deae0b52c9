#include <cstdio>

#include "Commands.h"
#include "DiscoveryTargets.h"
#include "NodeTable.h"

namespace Orvane {

void discoverServers(const DiscoverOptions& options) {
    constexpr double millisecondsPerSecond = 1000;
    const std::chrono::milliseconds window(
        static_cast<long long>(options.seconds * millisecondsPerSecond));
    Discovery search(discoveryTargets(options.addresses),
                     options.hostYear ? std::vector{*options.hostYear} : allReleases());
    search.listen(window);
    search.unite();
    if (search.nodes().empty())
        throw nobodyAnswers(options.addresses, options.hostYear);
    std::vector<std::string> addresses;
    for (const auto& [address, hosts] : search.nodes())
        addresses.push_back(address);
    auto free = findFree(addresses);
    std::printf("%s\n", nodeTableHead().c_str());
    for (const auto& [address, hosts] : search.nodes())
        std::printf("%s\n", nodeTableLine(address, hosts, free[address] ? "free" : "busy").c_str());
}

}  // namespace Orvane
