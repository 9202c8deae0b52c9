#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "OrvaneCore/String.h"
#include "protocol/DatagramSocket.h"

namespace Orvane {

/// All host releases that discovery knows.
std::vector<int> allReleases();

/// A node as several pings show it: how long it took to answer for each host release it has.
using HostVersions = std::map<int, std::chrono::milliseconds>;

/// Asks many addresses for several releases at once, and gathers who answers. Used by one thread.
class Discovery {
  public:
    using milliseconds = std::chrono::milliseconds;

    /// `targets` are dotted addresses, broadcast ones among them. Throws Failure.
    Discovery(std::vector<std::string> targets, const std::vector<int>& releases);

    /// Sends the pings, once more where the constructor has already done so, and forgets who
    /// answered before.
    void ask();
    /// Gathers answers until `window`, counted from the last ask(), is over, or `isEnough`.
    void listen(
        milliseconds window, const std::function<bool()>& isEnough = [] { return false; });

    /// Makes one node of addresses that turn out to be the same node's, which takes about a second
    /// where this machine has several network cards and new nodes have been found.
    void unite();

    /// Who has answered since the last ask(), by address. This machine is one node, whatever
    /// addresses it has.
    const std::map<std::string, HostVersions>& nodes() const { return found; }

  private:
    /// A reply does not say which release it is for, so each has a socket of its own.
    struct Channel {
        int release = 0;
        std::string ping;
        std::unique_ptr<DatagramSocket> socket;
    };

    milliseconds elapsed() const;
    bool receive();
    bool receive(Channel& channel);
    void note(const std::string& sender, int release);

    const std::vector<std::string> asked;
    const std::set<std::string> ownAddresses;
    std::vector<Channel> channels;
    std::chrono::steady_clock::time_point sent;     // the first ping of the last ask()
    std::chrono::steady_clock::time_point allSent;  // its last ping
    std::map<std::string, HostVersions> found;
    std::map<std::string, std::string> aliases;  // an address, and the one that stands for it
};

/// For a search that found nobody; `given` as on the command line.
Failure nobodyAnswers(const std::vector<std::string>& given,
                      std::optional<int> hostYear = std::nullopt);

}  // namespace Orvane
