#pragma once

#include <string>
#include <vector>

namespace Orvane {

/// Where discovery asks when nobody says otherwise, as dotted addresses: the broadcast address of
/// each network card's network, and this machine.
std::vector<std::string> allNetworks();

/// What was given on the command line as dotted addresses: names, addresses, broadcast addresses,
/// and networks such as 10.1.2.0/24, whose every address is asked by itself because routers pass
/// on no broadcasts. All networks when nothing was given. Throws Failure.
std::vector<std::string> discoveryTargets(const std::vector<std::string>& given);

}  // namespace Orvane
