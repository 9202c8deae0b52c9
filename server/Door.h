#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/MasterList.h"
#include "protocol/Framing.h"
#include "protocol/Listener.h"
#include "server/LineFold.h"
#include "server/Master.h"

namespace Orvane {

/// Where masters come in, on a thread of its own from construction to destruction. Handshakes are
/// read side by side, so that nobody waits behind a stranger; whoever has sent a good one waits,
/// unanswered, until it is his turn.
class Door : private StandbyThread {
  public:
    using Clock = SocketClock;

    /// Connections whose handshake is not there yet. Beyond these the oldest one that has not said
    /// a word goes, or the oldest of all but the one that has just come: one address cannot keep
    /// others out, and many cannot take every descriptor.
    static constexpr std::size_t mostStrangers = 64;
    static constexpr std::size_t mostStrangersOfOneAddress = 16;
    /// Masters that wait. Each has a descriptor and up to 64 KiB of text; a farm has fewer, and the
    /// system gives a process a thousand descriptors. Whoever comes then is turned away.
    static constexpr std::size_t mostMasters = 256;

    /// Binds the port. Both must outlive the door.
    Door(unsigned short port, const MasterList& admitted, DrLog& target);
    ~Door();

    /// False when the port could not be bound; then nobody comes.
    bool isOk() const { return listener.isOk(); }

    /// The master whose turn it is, which may have left just now. Waits for one until `latest`, or
    /// a day, and no longer once the stop has been requested. Its connection is the caller's from
    /// then on: the door gives it away between two waits, with nothing under way on it. One thread.
    std::optional<Master> next(Clock::time_point latest);

    /// Any thread. Those who wait are left without an answer.
    void requestStop();
    using StandbyThread::isBusy;

  private:
    struct Stranger {
        explicit Stranger(std::unique_ptr<Connection> accepted);
        bool isSilent() const { return !reader->hasBegun(); }

        std::unique_ptr<Connection> connection;
        std::unique_ptr<MessageReader> reader;
    };
    struct Waiting {
        Master master;
        WaitFor expects = WaitFor::Input;  // End once bytes have come that are not ours to read
    };

    void serve();
    Clock::time_point nextDeadline() const;
    std::vector<WaitedSocket> socketsToWatch() const;

    void admitNewcomers(bool announced);
    void admit(std::unique_ptr<Connection> connection);
    void makeRoom(const String& newest);
    void dropOldest(const std::vector<Stranger*>& candidates);
    void hearStrangers();
    bool isSettled(Stranger& stranger);
    void letWait(Master master);
    void dropThoseWhoLeft(std::span<const WaitedSocket> watched);
    static bool hasLeft(Waiting& entry, const WaitedSocket& watched);
    void handOver();
    void logBogus(const Stranger& stranger);

    Listener listener;
    const MasterList& masterList;
    DrLog& log;
    std::atomic<bool> stopRequested = false;
    WaitSignal wakeUp;

    // The door thread's own.
    std::vector<Stranger> strangers;  // the oldest first
    std::deque<Waiting> waiting;      // in the order of their turns
    Clock::time_point acceptsAgain = Clock::time_point::min();
    LineFold bogusConnections;
    LineFold refusedAddresses;
    LineFold leftMasters;
    LineFold turnedAway;

    std::mutex lock;
    std::condition_variable handedOver;
    bool isWanted = false;              // guarded by lock: somebody waits in next()
    std::optional<Master> whoseTurnIs;  // guarded by lock
};

}  // namespace Orvane
