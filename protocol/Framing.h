#pragma once

#include "OrvaneCore/String.h"
#include "protocol/Connection.h"

namespace Orvane {

/// A message that grows beyond this is refused and its connection closed: real ones have a few
/// hundred bytes, and nobody may make the server keep more.
constexpr std::int32_t mostMessageBytes = 64 * 1024;

/// A message that has begun must be complete after this time, or its connection is closed: one byte
/// every few seconds would otherwise hold the only master slot, or stall the relay, for ever.
constexpr std::chrono::seconds longestMessage{5};

/// On a stream a message is its 8-bit text and a zero byte. Both answer 0 for success and 1 for
/// failure; the time-out is in seconds.

/// Waits up to the time-out for each byte, and takes none behind the zero. What was read before a
/// failure stays in `text`. When a limit was broken, `refusal` says which.
int readMessage(Connection& connection, String& text, int timeoutSeconds,
                const char** refusal = nullptr);
/// The time-out is for the whole message.
int writeMessage(Connection& connection, const String& text, int timeoutSeconds);
/// The same under the connection's current time-out.
int writeMessage(Connection& connection, const String& text);

/// What a message's bytes are on the wire, in a datagram too: the zero included, as many as the
/// wide text has characters and one more.
std::string wireBytes(const String& text);

}  // namespace Orvane
