#include "Discovery.h"

#include <array>
#include <thread>

#include "OrvaneCore/HostReleases.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"

namespace Orvane {

using std::chrono::milliseconds;

Discovery::Discovery(const String& target, int hostVersion)
    : socket(0), sent(std::chrono::steady_clock::now()) {
    if (!socket.isOk())
        throw Failure(ExitStatus::Unexpected, "No UDP socket can be made");
    const String ping = DiscoveryRequest{hostVersion}.text();
    const std::string bytes = wireBytes(ping);
    if (!socket.sendTo(target, discoveryPort, bytes.data(), bytes.size()))
        throw Failure(ExitStatus::Unreachable, "The name '" + toAnsi(target) + "' is not known",
                      "Check the spelling, or give the address in digits.");
}

milliseconds Discovery::elapsed() const {
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - sent);
}

bool Discovery::receive() {
    std::array<char, 256> text{};
    return socket.receive(text.data(), text.size() - 1) == DatagramSocket::Arrival::Datagram &&
           DiscoveryReply::read(text.data());
}

std::optional<Discovery::Answer> Discovery::next(milliseconds window) {
    for (;;) {
        if (receive()) {
            const String address = socket.senderAddress();
            if (known.insert(toAnsi(address)).second)
                return Answer{address, elapsed()};
        } else if (elapsed() >= window) {
            return std::nullopt;
        } else {
            std::this_thread::sleep_for(milliseconds(1));
        }
    }
}

Failure nobodyAnswers(const String& target, std::optional<int> hostVersion) {
    const std::string address = toAnsi(target);
    const bool everybody = address == broadcastAddress;
    const std::string version = hostVersion ? " for 3ds Max " + std::to_string(*hostVersion) : "";
    return {
        ExitStatus::NobodyAnswers,
        "No DR server " + (everybody ? "on this network" : "at " + address) + " answers" + version,
        "Is it running, with such a host configured, and does the firewall let UDP port " +
            std::to_string(discoveryPort) + " through?" +
            (everybody ? " A broadcast does not leave this network: --address asks one host."
                       : "")};
}

std::map<std::string, HostVersions> surveyHostVersions(const String& target,
                                                       milliseconds windowEach) {
    std::map<std::string, HostVersions> nodes;
    for (int version = firstHostYear; version <= lastHostYear; ++version) {
        Discovery search(target, version);
        while (const auto answer = search.next(windowEach))
            nodes[toAnsi(answer->address)][version] = answer->delay;
    }
    return nodes;
}

}  // namespace Orvane
