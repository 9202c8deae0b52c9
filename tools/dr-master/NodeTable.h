#pragma once

#include <string>
#include <vector>

#include "Discovery.h"

namespace Orvane {

/// Whether each of these servers would serve a master at once, asked of all side by side. A server
/// that is free logs that somebody asked, without a job.
std::map<std::string, bool> findFree(const std::vector<std::string>& addresses);

/// The line above those below.
std::string nodeTableHead();
/// A node in one line: its address, all its releases, how quick it answered, and its state.
std::string nodeTableLine(const std::string& address, const HostVersions& hosts,
                          const std::string& state);

}  // namespace Orvane
