#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace Orvane {

/// How many answers an address gets. A datagram's sender can be forged, and four answers to one
/// ping would multiply a flood that is aimed at somebody else. A master asks a few times. One
/// thread at a time.
class ReplyLimit {
  public:
    static constexpr std::int32_t mostReplies = 500;
    static constexpr std::chrono::seconds window{10};
    /// So many masters are not in one studio; a flood of forged senders may not fill the memory.
    static constexpr std::size_t mostAddresses = 4096;

    /// Counts a ping of this address; false when it is to get no more answers in this window.
    bool allows(const std::string& address);

  private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point windowStart;
    std::map<std::string, std::int32_t> replies;
};

}  // namespace Orvane
