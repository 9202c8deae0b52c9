#pragma once

#include <atomic>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/DrConfig.h"
#include "server/LineFold.h"
#include "server/ReplyLimit.h"

namespace Orvane {

/// Whether a datagram's text asks for a host release that is configured.
bool isAnswered(const String& ping, const DrConfig& config);

class PingSocket;

/// Answers discovery pings for the host releases that are configured, on a thread of its own from
/// construction to destruction. Created and destroyed by the start-up thread.
class DiscoveryReplier : private StandbyThread {
  public:
    /// Both must outlive the replier.
    DiscoveryReplier(DrLog& target, const DrConfig& settings);
    ~DiscoveryReplier();

    /// Any thread. The loop ends within one poll.
    void requestStop() { stopRequested = true; }
    using StandbyThread::isBusy;

  private:
    void serve();
    int takeWaiting(PingSocket& socket);
    void take(PingSocket& socket, const String& ping);

    DrLog& log;
    const DrConfig& config;
    std::atomic<bool> stopRequested = false;

    // The loop's own.
    LineFold ignoredPings;
    LineFold answeredPings;
    LineFold unansweredPings;
    ReplyLimit replyLimit;
};

}  // namespace Orvane
