#include "config/MasterList.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <string>

#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

constexpr unsigned int addressBits = 32;
constexpr unsigned int partBits = 8;

/// Digits alone, without a zero before others, which some take for another base.
std::optional<unsigned int> numberUpTo(unsigned int most, std::string_view digits) {
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool whole = error == std::errc() && end == digits.data() + digits.size();
    if (!whole || number > most || (digits.size() > 1 && digits.front() == '0'))
        return std::nullopt;
    return number;
}

std::optional<std::uint32_t> addressOf(std::string_view dotted) {
    constexpr unsigned int mostOfPart = 255;
    std::uint32_t address = 0;
    for (int dots = 3; dots >= 0; --dots) {
        const std::size_t end = dots > 0 ? dotted.find('.') : dotted.size();
        const auto part = numberUpTo(mostOfPart, dotted.substr(0, end));
        if (end == dotted.npos || !part)
            return std::nullopt;
        address = address << partBits | *part;
        dotted.remove_prefix(dots > 0 ? end + 1 : end);
    }
    return address;
}

std::uint32_t networkOf(std::uint32_t address, unsigned int prefix) {
    const unsigned int hostBits = addressBits - prefix;
    return hostBits == addressBits ? 0 : address >> hostBits << hostBits;
}

std::string dottedText(std::uint32_t address) {
    std::string text;
    for (unsigned int shift = addressBits; shift > 0; shift -= partBits) {
        if (!text.empty())
            text += '.';
        text += std::to_string(address >> (shift - partBits) & 0xFF);
    }
    return text;
}

}  // namespace

bool MasterList::add(const String& entries) {
    restrict();
    std::istringstream words(toAnsi(entries));
    bool any = false;
    bool good = true;
    for (std::string word; words >> word; any = true)
        good = addEntry(word) && good;
    return any && good;
}

bool MasterList::addEntry(std::string_view entry) {
    const std::size_t slash = entry.find('/');
    const auto address = addressOf(entry.substr(0, slash));
    const auto prefix = slash == entry.npos ? std::optional(addressBits)
                                            : numberUpTo(addressBits, entry.substr(slash + 1));
    if (!address || !prefix)
        return false;
    const Network network{networkOf(*address, *prefix), *prefix};
    if (std::find(networks.begin(), networks.end(), network) == networks.end())
        networks.push_back(network);
    return true;
}

bool MasterList::admits(const String& address) const {
    const auto number = addressOf(toAnsi(address));
    return !restricted ||
           (number && std::any_of(networks.begin(), networks.end(), [&](const Network& network) {
                return networkOf(*number, network.prefix) == network.address;
            }));
}

String MasterList::text() const {
    std::string text;
    for (const Network& network : networks) {
        if (!text.empty())
            text += ' ';
        text += dottedText(network.address);
        if (network.prefix != addressBits)
            text.append(1, '/').append(std::to_string(network.prefix));
    }
    return text;
}

}  // namespace Orvane
