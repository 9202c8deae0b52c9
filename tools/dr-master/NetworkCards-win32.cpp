#include "NetworkCards.h"

// The order matters: the second header wants what the first declares.
#include <winsock2.h>

#include <iphlpapi.h>
#include <ws2tcpip.h>

#include <array>

namespace Orvane {

namespace {

std::string dotted(std::uint32_t address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    in_addr internet{};
    internet.s_addr = htonl(address);
    return inet_ntop(AF_INET, &internet, text.data(), text.size()) != nullptr ? text.data() : "";
}

NetworkCard cardOf(const IP_ADAPTER_UNICAST_ADDRESS& unicast) {
    const auto& internet = *reinterpret_cast<const sockaddr_in*>(unicast.Address.lpSockaddr);
    const std::uint32_t address = ntohl(internet.sin_addr.s_addr);
    constexpr int bits = 32, longestWithBroadcast = 30;
    const int prefix = unicast.OnLinkPrefixLength;
    if (prefix == 0 || prefix > longestWithBroadcast)
        return {dotted(address), ""};
    const std::uint32_t hosts = (std::uint32_t{1} << static_cast<unsigned>(bits - prefix)) - 1;
    return {dotted(address), dotted(address | hosts)};
}

/// The list's bytes; empty when the system does not say.
std::vector<char> adapterList() {
    constexpr ULONG flags =
        GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    constexpr int mostTries = 4;  // it may grow between two calls
    ULONG size = 16 * 1024;
    for (int i = 0; i < mostTries; ++i) {
        std::vector<char> bytes(size);
        auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(bytes.data());
        const ULONG result = GetAdaptersAddresses(AF_INET, flags, nullptr, first, &size);
        if (result == ERROR_SUCCESS)
            return bytes;
        if (result != ERROR_BUFFER_OVERFLOW)
            break;
    }
    return {};
}

}  // namespace

std::vector<NetworkCard> networkCards() {
    std::vector<NetworkCard> cards;
    const std::vector<char> list = adapterList();
    if (list.empty())
        return cards;
    const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(list.data());
    for (; adapter != nullptr; adapter = adapter->Next) {
        if (adapter->OperStatus != IfOperStatusUp)
            continue;
        const bool loopback = adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK;
        for (const auto* unicast = adapter->FirstUnicastAddress; unicast != nullptr;
             unicast = unicast->Next) {
            cards.push_back(cardOf(*unicast));
            if (loopback)
                cards.back().broadcast.clear();
        }
    }
    return cards;
}

}  // namespace Orvane
