#include "protocol/Framing.h"

#include <algorithm>
#include <array>
#include <optional>

#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;

/// The end of a message that has begun.
class MessageDeadline {
  public:
    explicit MessageDeadline(int timeoutSeconds) : perByte(std::chrono::seconds(timeoutSeconds)) {}

    std::chrono::milliseconds left() const {
        if (!begun)
            return perByte;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        return std::min(perByte, rest);
    }
    bool isOver() const { return begun && Clock::now() >= end; }
    void begin() {
        if (!begun)
            end = Clock::now() + Timeouts::longestMessage;
        begun = true;
    }

  private:
    std::chrono::milliseconds perByte;
    Clock::time_point end;
    bool begun = false;
};

}  // namespace

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

namespace {

using Outcome = ReceivedMessage::Outcome;

/// Takes what has arrived, up to the zero; true when that was there. Nothing arrived: nothing.
std::optional<bool> takeArrived(Connection& connection, String& text,
                                std::chrono::milliseconds longest) {
    std::array<char, 4096> arrived;
    const std::size_t size = connection.peek(arrived.data(), arrived.size(), longest);
    if (size == 0)
        return std::nullopt;
    const auto* zero = std::find(arrived.data(), arrived.data() + size, '\0');
    const auto length = static_cast<std::size_t>(zero - arrived.data());
    const bool complete = length < size;
    // It has arrived, so it is there.
    const std::size_t taken = complete ? length + 1 : length;
    if (connection.read(arrived.data(), taken) != taken)
        return std::nullopt;
    // Each byte is one character by itself, whatever its neighbours are.
    for (std::size_t i = 0; i < length; ++i)
        text.appendNarrow({&arrived[i], 1});
    return complete;
}

Outcome receive(Connection& connection, String& text, int timeoutSeconds) {
    MessageDeadline deadline(timeoutSeconds);
    while (const auto complete = takeArrived(connection, text, deadline.left())) {
        deadline.begin();
        if (text.length() > mostMessageBytes)
            return Outcome::TooLong;
        if (*complete)
            return Outcome::Whole;
        if (deadline.isOver())
            return Outcome::TooSlow;
    }
    return deadline.isOver() ? Outcome::TooSlow : Outcome::Unfinished;
}

}  // namespace

ReceivedMessage readMessage(Connection& connection, int timeoutSeconds) {
    connection.setTimeout(timeoutSeconds);
    ReceivedMessage message;
    message.outcome = receive(connection, message.text, timeoutSeconds);
    if (message.isRefused())
        connection.close();
    return message;
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
