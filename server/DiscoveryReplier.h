#pragma once

#include <atomic>
#include <memory>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/DrConfig.h"
#include "protocol/DatagramSocket.h"
#include "server/LineFold.h"
#include "server/ReplyLimit.h"

namespace Orvane {

/// Whether a datagram's text asks for a host release that is configured.
bool isAnswered(const String& ping, const DrConfig& config);

/// Answers discovery pings for the host releases that are configured, on a thread of its own from
/// construction to destruction. Created and destroyed by the start-up thread.
class DiscoveryReplier : private StandbyThread {
  public:
    using SocketOpener = std::unique_ptr<DatagramSocket> (*)();

    /// Both must outlive the replier. Another opener than the discovery port's is for tests.
    DiscoveryReplier(DrLog& target, const DrConfig& settings, SocketOpener opener = nullptr);
    ~DiscoveryReplier();

    /// Any thread. The loop ends within one poll.
    void requestStop() { stopRequested = true; }
    using StandbyThread::isBusy;

  private:
    void serve();
    int takeWaiting(DatagramSocket& socket);
    void take(DatagramSocket& socket, const String& ping);

    DrLog& log;
    const DrConfig& config;
    SocketOpener openSocket;
    std::atomic<bool> stopRequested = false;

    // The loop's own.
    LineFold ignoredPings;
    LineFold answeredPings;
    LineFold refusedPings;
    LineFold unansweredPings;
    ReplyLimit replyLimit;
};

}  // namespace Orvane
