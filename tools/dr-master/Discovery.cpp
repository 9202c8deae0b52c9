#include "Discovery.h"

#include <algorithm>
#include <array>
#include <thread>

#include "DiscoveryTargets.h"
#include "NetworkCards.h"
#include "NodeIdentity.h"
#include "OrvaneCore/HostReleases.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"

namespace Orvane {

namespace {

std::set<std::string> addressesOfThisMachine() {
    std::set<std::string> addresses;
    for (const NetworkCard& card : networkCards())
        addresses.insert(card.address);
    return addresses;
}

}  // namespace

std::vector<int> allReleases() {
    std::vector<int> releases;
    for (int year = firstHostYear; year <= lastHostYear; ++year)
        releases.push_back(year);
    return releases;
}

Discovery::Discovery(std::vector<std::string> targets, const std::vector<int>& releases)
    : asked(std::move(targets)), ownAddresses(addressesOfThisMachine()) {
    for (const int release : releases) {
        channels.push_back({release, wireBytes(DiscoveryRequest{release}.text()),
                            std::make_unique<DatagramSocket>(static_cast<unsigned short>(0))});
        if (!channels.back().socket->isOk())
            throw Failure(ExitStatus::Unexpected, "No UDP socket can be made");
    }
    ask();
}

void Discovery::ask() {
    // So many at a time that the answers find room in the sockets until they are taken.
    constexpr int batch = 100;
    found.clear();
    sent = allSent = std::chrono::steady_clock::now();
    int inBatch = 0;
    for (const std::string& target : asked) {
        for (Channel& channel : channels)
            // A network that cannot be reached now has no nodes.
            (void)channel.socket->sendTo(target, discoveryPort, channel.ping.data(),
                                         channel.ping.size());
        if (++inBatch % batch == 0)
            listen(elapsed() + milliseconds(10));
    }
    allSent = std::chrono::steady_clock::now();
}

Discovery::milliseconds Discovery::elapsed() const {
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - sent);
}

bool Discovery::receive() {
    bool any = false;
    for (Channel& channel : channels)
        any = receive(channel) || any;
    return any;
}

bool Discovery::receive(Channel& channel) {
    std::array<char, 256> text{};
    const auto arrival = channel.socket->receive(text.data(), text.size() - 1);
    if (arrival == DatagramSocket::Arrival::Datagram && DiscoveryReply::read(text.data()))
        note(toAnsi(channel.socket->senderAddress()), channel.release);
    return arrival != DatagramSocket::Arrival::Nothing;
}

void Discovery::note(const std::string& sender, int release) {
    const auto alias = aliases.find(sender);
    const std::string& address = alias == aliases.end() ? sender : alias->second;
    const auto isOwn = [this](const auto& node) { return ownAddresses.contains(node.first); };
    const auto known = ownAddresses.contains(address)
                           ? std::find_if(found.begin(), found.end(), isOwn)
                           : found.find(address);
    HostVersions& releases = known == found.end() ? found[address] : known->second;
    // Each answers four times; the first says how quick it is.
    releases.try_emplace(release, elapsed());
}

void Discovery::listen(milliseconds window, const std::function<bool()>& isEnough) {
    // The time is looked at after each datagram too: somebody may send them without end.
    while (!isEnough() && std::chrono::steady_clock::now() - allSent < window)
        if (!receive())
            std::this_thread::sleep_for(milliseconds(1));
}

void Discovery::unite() {
    std::map<std::string, int> unknown;
    bool isNew = false;
    for (const auto& [address, releases] : found) {
        unknown[address] = releases.begin()->first;
        isNew = aliases.try_emplace(address, address).second || isNew;
    }
    if (!isNew)
        return;
    for (const auto& [address, other] : sameNodes(unknown)) {
        found[other].merge(found[address]);
        found.erase(address);
        aliases[address] = other;
    }
}

Failure nobodyAnswers(const std::vector<std::string>& given, std::optional<int> hostYear) {
    std::string where = "on this machine's networks";
    if (!given.empty())
        where = "at " + printable(given.front()) + (given.size() > 1 ? " and the others" : "");
    const std::string version = hostYear ? " for 3ds Max " + std::to_string(*hostYear) : "";
    return {ExitStatus::NobodyAnswers, "No DR server " + where + " answers" + version,
            "Is it running, with such a host configured, and does the firewall let UDP port " +
                std::to_string(discoveryPort) + " through?" +
                (given.empty() ? " A broadcast does not leave its network: --address asks hosts "
                                 "and networks beyond it."
                               : "")};
}

}  // namespace Orvane
