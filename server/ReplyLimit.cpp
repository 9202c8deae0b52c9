#include "server/ReplyLimit.h"

namespace Orvane {

bool ReplyLimit::allows(const std::string& address) {
    if (Clock::now() - windowStart >= window) {
        replies.clear();
        windowStart = Clock::now();
    }
    if (replies.size() >= mostAddresses && !replies.contains(address))
        return false;
    std::int32_t& count = replies[address];
    if (count >= mostReplies)
        return false;
    ++count;
    return true;
}

}  // namespace Orvane
