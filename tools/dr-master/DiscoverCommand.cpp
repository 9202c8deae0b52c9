#include <cstdio>

#include "Commands.h"
#include "Discovery.h"

namespace Orvane {

void discoverServers(const DiscoverOptions& options) {
    const std::chrono::milliseconds window(static_cast<int>(options.seconds * 1000));
    Discovery search(options.address, options.hostVersion);
    int found = 0;
    for (; const auto answer = search.next(window); ++found) {
        std::printf("%-15s  %4lld ms\n", toAnsi(answer->address).c_str(),
                    static_cast<long long>(answer->delay.count()));
        std::fflush(stdout);
    }
    if (found == 0)
        throw nobodyAnswers(options.address, options.hostVersion);
}

}  // namespace Orvane
