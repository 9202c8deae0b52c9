#include "DiscoveryTargets.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <sstream>

#include "Discovery.h"
#include "ExitStatus.h"
#include "NetworkCards.h"
#include "protocol/Resolve.h"

namespace Orvane {

namespace {

constexpr int addressBits = 32;
/// 4,096 addresses: more than a studio's network has, and as many as can be asked in a moment.
constexpr int shortestPrefix = 20;

std::optional<int> numberOf(const std::string& text, int most) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const bool isRight = error == std::errc() && rest == end && number >= 0 && number <= most;
    return isRight ? std::optional(number) : std::nullopt;
}

std::optional<std::uint32_t> addressOf(std::string text) {
    constexpr int parts = 4, most = 255, bitsOfPart = 8;
    std::uint32_t address = 0;
    text += '.';
    for (int i = 0; i < parts; ++i) {
        const std::size_t dot = text.find('.');
        const auto number = dot == text.npos ? std::nullopt : numberOf(text.substr(0, dot), most);
        if (!number)
            return std::nullopt;
        address = address << static_cast<unsigned>(bitsOfPart) | static_cast<unsigned>(*number);
        text.erase(0, dot + 1);
    }
    return text.empty() ? std::optional(address) : std::nullopt;
}

std::string dotted(std::uint32_t address) {
    std::ostringstream text;
    text << (address >> 24U) << '.' << (address >> 16U & 0xFFU) << '.' << (address >> 8U & 0xFFU)
         << '.' << (address & 0xFFU);
    return text.str();
}

Failure notANetwork(const std::string& text) {
    return {ExitStatus::WrongUsage, "'" + printable(text) + "' is no network that can be asked",
            "Write it as 10.1.2.0/24; at most " +
                std::to_string(1U << static_cast<unsigned>(addressBits - shortestPrefix)) +
                " addresses (/" + std::to_string(shortestPrefix) + ")."};
}

void addNetwork(const std::string& text, std::vector<std::string>& targets) {
    const std::size_t slash = text.find('/');
    const auto address = addressOf(text.substr(0, slash));
    const auto prefix = numberOf(text.substr(slash + 1), addressBits);
    if (!address || !prefix || *prefix < shortestPrefix)
        throw notANetwork(text);
    const std::uint32_t size = 1U << static_cast<unsigned>(addressBits - *prefix);
    const std::uint32_t first = *address & ~(size - 1);
    // The first and the last of a network are nobody's address.
    const std::uint32_t ends = size > 2 ? 1 : 0;
    for (std::uint32_t i = ends; i < size - ends; ++i)
        targets.push_back(dotted(first + i));
}

}  // namespace

std::vector<std::string> allNetworks() {
    std::vector<std::string> targets{"127.0.0.1"};
    for (const NetworkCard& card : networkCards())
        if (!card.broadcast.empty())
            targets.push_back(card.broadcast);
    return targets;
}

std::vector<std::string> discoveryTargets(const std::vector<std::string>& given) {
    if (given.empty())
        return allNetworks();
    std::vector<std::string> targets;
    for (const std::string& text : given) {
        if (text.find('/') != text.npos) {
            addNetwork(text, targets);
        } else if (const auto address = resolve(text)) {
            targets.push_back(toAnsi(*address));
        } else {
            throw Failure(ExitStatus::Unreachable,
                          "The name '" + printable(text) + "' is not known",
                          "Check the spelling, or give the address in digits.");
        }
    }
    return targets;
}

}  // namespace Orvane
