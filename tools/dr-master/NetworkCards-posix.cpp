#include "NetworkCards.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <array>
#include <memory>

namespace Orvane {

namespace {

std::string dotted(const sockaddr* address) {
    if (address == nullptr || address->sa_family != AF_INET)
        return {};
    std::array<char, INET_ADDRSTRLEN> text{};
    const auto& internet = *reinterpret_cast<const sockaddr_in*>(address);
    return inet_ntop(AF_INET, &internet.sin_addr, text.data(), text.size()) != nullptr ? text.data()
                                                                                       : "";
}

}  // namespace

std::vector<NetworkCard> networkCards() {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(all, freeifaddrs);
    std::vector<NetworkCard> cards;
    for (const ifaddrs* card = all; card != nullptr; card = card->ifa_next) {
        const std::string address = dotted(card->ifa_addr);
        if (address.empty() || (card->ifa_flags & IFF_UP) == 0)
            continue;
        const bool hasBroadcast = (card->ifa_flags & IFF_BROADCAST) != 0;
        cards.push_back({address, hasBroadcast ? dotted(card->ifa_broadaddr) : ""});
    }
    return cards;
}

}  // namespace Orvane
