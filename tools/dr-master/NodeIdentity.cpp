#include "NodeIdentity.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "NetworkCards.h"
#include "protocol/DatagramSocket.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

/// One node's address, asked from one of ours. A reply does not say what it answers, so each
/// question has a socket of its own.
struct Question {
    std::string node;
    std::unique_ptr<DatagramSocket> socket;
};

/// Ours of all networks that have others on them.
std::vector<std::string> sharedAddresses() {
    std::vector<std::string> addresses;
    for (const NetworkCard& card : networkCards())
        if (!card.broadcast.empty())
            addresses.push_back(card.address);
    return addresses;
}

std::vector<Question> ask(const std::map<std::string, int>& nodes,
                          const std::vector<std::string>& ours) {
    std::vector<Question> questions;
    for (const auto& [node, release] : nodes) {
        const std::string ping = wireBytes(DiscoveryRequest{release}.text());
        for (const std::string& own : ours) {
            auto socket =
                std::make_unique<DatagramSocket>(static_cast<unsigned short>(0), String(own));
            if (socket->isOk() && socket->sendTo(node, discoveryPort, ping.data(), ping.size()))
                questions.push_back({node, std::move(socket)});
        }
    }
    return questions;
}

/// Who answered; empty while nobody has.
std::string answererOf(const Question& question) {
    std::array<char, 256> text{};
    const auto arrival = question.socket->receive(text.data(), text.size() - 1);
    const bool isReply =
        arrival == DatagramSocket::Arrival::Datagram && DiscoveryReply::read(text.data());
    return isReply ? toAnsi(question.socket->senderAddress()) : std::string();
}

/// The address that stands for another, through any number of steps.
std::string root(const std::map<std::string, std::string>& others, std::string address) {
    for (auto next = others.find(address); next != others.end(); next = others.find(address))
        address = next->second;
    return address;
}

}  // namespace

// A node sends its answer from the address that is nearest to who asked. Asked at one address by
// us of another network, it answers from its address there.
std::map<std::string, std::string> sameNodes(const std::map<std::string, int>& nodes) {
    std::map<std::string, std::string> others;
    const auto ours = sharedAddresses();
    if (ours.size() < 2 || nodes.size() < 2)
        return others;
    const auto questions = ask(nodes, ours);
    const auto end = std::chrono::steady_clock::now() + 3 * Timeouts::discoveryPoll;
    while (std::chrono::steady_clock::now() < end) {
        for (const Question& question : questions) {
            const std::string answerer = answererOf(question);
            const std::string first = root(others, std::min(answerer, question.node));
            const std::string second = root(others, std::max(answerer, question.node));
            if (nodes.contains(answerer) && first != second)
                others[second] = first;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (auto& [address, other] : others)
        other = root(others, other);
    return others;
}

}  // namespace Orvane
