#include "protocol/Framing.h"

#include <algorithm>
#include <array>

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
            end = Clock::now() + longestMessage;
        begun = true;
    }

  private:
    std::chrono::milliseconds perByte;
    Clock::time_point end;
    bool begun = false;
};

}  // namespace

int readMessage(Connection& connection, String& text, int timeoutSeconds, const char** refusal) {
    text.truncate(0);
    connection.setTimeout(timeoutSeconds);
    MessageDeadline deadline(timeoutSeconds);
    std::array<char, 4096> arrived;
    while (const std::size_t size =
               connection.peek(arrived.data(), arrived.size(), deadline.left())) {
        deadline.begin();
        const auto* zero = std::find(arrived.data(), arrived.data() + size, '\0');
        const auto length = static_cast<std::size_t>(zero - arrived.data());
        const bool complete = length < size;
        const std::size_t taken = complete ? length + 1 : length;
        if (connection.read(arrived.data(), taken) != taken)
            break;
        // Each byte is one character by itself, whatever its neighbours are.
        for (std::size_t i = 0; i < length; ++i)
            text.appendNarrow({&arrived[i], 1});
        if (complete && text.length() <= mostMessageBytes)
            return 0;
        if (text.length() > mostMessageBytes || deadline.isOver())
            break;
    }
    const char* const broken = text.length() > mostMessageBytes ? "it is longer than 64 KiB"
                               : deadline.isOver()              ? "it was not complete after 5 s"
                                                                : nullptr;
    if (broken != nullptr)
        connection.close();
    if (refusal != nullptr)
        *refusal = broken;
    return 1;
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
