#pragma once

#include <map>
#include <string>

namespace Orvane {

/// Which addresses of nodes, each given with a release that it has, are other nodes' second
/// addresses: each with the address that stands for both. Takes about a second where this machine
/// has several network cards, and no time elsewhere.
std::map<std::string, std::string> sameNodes(const std::map<std::string, int>& nodes);

}  // namespace Orvane
