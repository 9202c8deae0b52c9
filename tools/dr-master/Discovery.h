#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "ExitStatus.h"
#include "OrvaneCore/String.h"
#include "protocol/DatagramSocket.h"

namespace Orvane {

constexpr const char* broadcastAddress = "255.255.255.255";

/// One discovery ping and those who answer it.
class Discovery {
  public:
    struct Answer {
        String address;
        std::chrono::milliseconds delay;  ///< since the ping
    };

    /// Sends the ping to a host, or to a broadcast address. Throws Failure.
    Discovery(const String& target, int hostVersion);

    /// The next server, each one once although it answers four times; nothing when `window`,
    /// counted from the ping, is over.
    std::optional<Answer> next(std::chrono::milliseconds window);

  private:
    std::chrono::milliseconds elapsed() const;
    bool receive();

    DatagramSocket socket;
    std::chrono::steady_clock::time_point sent;
    std::set<std::string> known;
};

/// For a search that found nobody.
Failure nobodyAnswers(const String& target, std::optional<int> hostVersion = std::nullopt);

/// A server as several pings show it: how long it took to answer for each host version it has.
using HostVersions = std::map<int, std::chrono::milliseconds>;
/// By address. One ping after the other, since a reply does not say which version it is for.
std::map<std::string, HostVersions> surveyHostVersions(const String& target,
                                                       std::chrono::milliseconds windowEach);

}  // namespace Orvane
