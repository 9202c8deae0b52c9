#pragma once

#include <chrono>

#include "OrvaneCore/String.h"
#include "protocol/Connection.h"

namespace Orvane {

/// A message that grows beyond this is refused and its connection closed: real ones have a few
/// hundred bytes, and nobody may make the server keep more.
constexpr std::int32_t mostMessageBytes = 64 * 1024;

/// On a stream a message is its 8-bit text and a zero byte; the time-outs are in seconds.

/// What came of a message that was to be read.
struct ReceivedMessage {
    enum class Outcome {
        Whole,
        Unfinished,  ///< the time-out, the peer's end or an error came first
        TooLong,     ///< beyond mostMessageBytes; the connection is closed
        TooSlow      ///< not complete after longestMessage; the connection is closed
    };

    Outcome outcome = Outcome::Unfinished;
    String text;  ///< without the zero; of a message that is not whole, what came of it

    bool isWhole() const { return outcome == Outcome::Whole; }
    /// Whether it broke a limit.
    bool isRefused() const { return outcome == Outcome::TooLong || outcome == Outcome::TooSlow; }
    /// Which limit it broke, for the log.
    String refusal() const;
};

/// A message that is read as it comes, by a thread that has other things to do.
class MessageReader {
  public:
    using Clock = std::chrono::steady_clock;

    /// Waits up to `perByte` for each byte. The connection must outlive the reader.
    MessageReader(Connection& peer, std::chrono::milliseconds perByte);

    /// When it gives up unless something comes.
    Clock::time_point deadline() const;
    bool hasBegun() const { return end != Clock::time_point::max(); }

    /// Takes some of what has arrived, and waits for something up to `longest`. True when it is
    /// clear what came of the message; a connection on which a limit was broken is then closed.
    [[nodiscard]] bool advance(std::chrono::milliseconds longest = {});
    ReceivedMessage& message() { return received; }

  private:
    bool takeArrived(std::chrono::milliseconds longest);
    bool settle(ReceivedMessage::Outcome outcome);

    Connection& connection;
    std::chrono::milliseconds patience;
    Clock::time_point lastByte = Clock::now();
    Clock::time_point end = Clock::time_point::max();  // of a message that has begun
    bool complete = false;
    ReceivedMessage received;
};

/// Waits up to the time-out for each byte, and takes none behind the zero.
[[nodiscard]] ReceivedMessage readMessage(Connection& connection, int timeoutSeconds);

/// Both answer 0 for success and 1 for failure. The time-out is for the whole message.
[[nodiscard]] int writeMessage(Connection& connection, const String& text, int timeoutSeconds);
/// The same under the connection's current time-out.
[[nodiscard]] int writeMessage(Connection& connection, const String& text);

/// What a message's bytes are on the wire, in a datagram too: the zero included, as many as the
/// wide text has characters and one more.
std::string wireBytes(const String& text);

}  // namespace Orvane
