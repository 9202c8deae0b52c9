#pragma once

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
