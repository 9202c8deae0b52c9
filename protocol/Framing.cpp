#include "protocol/Framing.h"

#include <algorithm>
#include <array>
#include <utility>

#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"

namespace Orvane {

String ReceivedMessage::refusal() const {
    constexpr std::int32_t bytesPerKiB = 1024;
    switch (outcome) {
        case Outcome::TooLong:
            return "it is longer than " + Str::toWString(mostMessageBytes / bytesPerKiB) + " KiB";
        case Outcome::TooSlow:
            return "it was not complete after " +
                   Str::toWString(static_cast<std::int32_t>(Timeouts::longestMessage.count())) +
                   " s";
        case Outcome::Whole:
        case Outcome::Unfinished:
            break;
    }
    return {};
}

MessageReader::MessageReader(Connection& peer, std::chrono::milliseconds perByte)
    : connection(peer), patience(perByte) {}

MessageReader::Clock::time_point MessageReader::deadline() const {
    return std::min<Clock::time_point>(lastByte + patience, end);
}

bool MessageReader::advance(std::chrono::milliseconds longest) {
    using Outcome = ReceivedMessage::Outcome;
    const bool arrived = takeArrived(longest);
    if (received.text.length() > mostMessageBytes)
        return settle(Outcome::TooLong);
    if (complete)
        return settle(Outcome::Whole);
    if (Clock::now() >= end)
        return settle(Outcome::TooSlow);
    if (!connection.isAlive() || (!arrived && Clock::now() >= deadline()))
        return settle(Outcome::Unfinished);
    return false;
}

bool MessageReader::takeArrived(std::chrono::milliseconds longest) {
    std::array<char, 4096> arrived;
    const std::size_t size = connection.peek(arrived.data(), arrived.size(), longest);
    if (size == 0)
        return false;
    lastByte = Clock::now();
    if (!hasBegun())
        end = lastByte + Timeouts::longestMessage;
    const auto* zero = std::find(arrived.data(), arrived.data() + size, '\0');
    const auto length = static_cast<std::size_t>(zero - arrived.data());
    complete = length < size;
    const std::size_t taken = complete ? length + 1 : length;
    // Each byte is one character by itself, whatever its neighbours are.
    for (std::size_t i = 0; i < length; ++i)
        received.text.appendNarrow({&arrived[i], 1});
    return connection.read(arrived.data(), taken) == taken;
}

bool MessageReader::settle(ReceivedMessage::Outcome outcome) {
    received.outcome = outcome;
    if (received.isRefused())
        connection.close();
    return true;
}

ReceivedMessage readMessage(Connection& connection, int timeoutSeconds) {
    using std::chrono::milliseconds;
    connection.setTimeout(timeoutSeconds);
    MessageReader reader(connection, std::chrono::seconds(timeoutSeconds));
    while (!reader.advance(
        std::chrono::ceil<milliseconds>(reader.deadline() - MessageReader::Clock::now()))) {
    }
    return std::move(reader.message());
}

int writeMessage(Connection& connection, const String& text, int timeoutSeconds) {
    connection.setTimeout(timeoutSeconds);
    return writeMessage(connection, text);
}

int writeMessage(Connection& connection, const String& text) {
    if (!connection.isAlive())
        return 1;
    const std::string bytes = wireBytes(text);
    const bool whole = connection.write(bytes.data(), bytes.size()) == bytes.size();
    return whole && connection.isAlive() ? 0 : 1;
}

std::string wireBytes(const String& text) {
    std::string bytes = toAnsi(text);
    // Counted by the wide text, as peers expect; the two differ in multi-byte code pages only.
    bytes.resize(static_cast<std::size_t>(text.length()) + 1, '\0');
    return bytes;
}

}  // namespace Orvane
