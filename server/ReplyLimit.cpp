#include "server/ReplyLimit.h"

namespace Orvane {

bool ReplyLimit::allows(const std::string& address) {
    if (Clock::now() - windowStart >= window) {
        replies.clear();
        windowStart = Clock::now();
    }
    // Forgotten rather than refused, or forgers could keep masters from being answered.
    if (replies.size() >= mostAddresses && !replies.contains(address))
        replies.clear();
    std::int32_t& count = replies[address];
    if (count >= mostReplies)
        return false;
    ++count;
    return true;
}

}  // namespace Orvane
