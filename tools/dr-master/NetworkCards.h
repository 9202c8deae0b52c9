#pragma once

#include <string>
#include <vector>

namespace Orvane {

/// One address of a network card of this machine, with the broadcast address of its network; both
/// dotted.
struct NetworkCard {
    std::string address;
    std::string broadcast;  ///< empty for a network without one, such as the loopback network
};

/// All that are up; IPv4, as everything here. Empty when the system does not say.
std::vector<NetworkCard> networkCards();

}  // namespace Orvane
