#include "protocol/Resolve.h"

#include <asio/ip/udp.hpp>

#include "protocol/NetworkContext.h"

namespace Orvane {

std::optional<String> resolve(const String& host) {
    if (host.isEmpty())  // the library would take it for this machine
        return std::nullopt;
    asio::ip::udp::resolver resolver(networkContext());
    asio::error_code error;
    const auto found = resolver.resolve(asio::ip::udp::v4(), toAnsi(host), "", error);
    if (error || found.empty())
        return std::nullopt;
    return String(found.begin()->endpoint().address().to_string());
}

}  // namespace Orvane
