#include "server/Door.h"

#include <algorithm>
#include <utility>

#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"
#include "server/StrangersText.h"
#include "server/WorkerStack.h"

namespace Orvane {

namespace {

constexpr std::chrono::seconds handshakePatience{Timeouts::masterHandshakeSeconds};
// A process that is out of descriptors is told of the waiting connection again and again.
constexpr std::chrono::milliseconds pauseAfterFailure{100};
// A flood may not keep the door from its other work.
constexpr int mostNewcomersAtOnce = 64;

const char* const bogusLine = "Got bogus master connection: ";
const char* const readyLine = "Ready for new connection";
const char* const strangerLine = "Connection from ";
const char* const refusedLine = "Refused a connection from ";
const char* const leftLine = "Left before its turn: the master from ";
const char* const turnedAwayLine = "Too many masters wait: turned away the one from ";

}  // namespace

bool Master::hasLeft() const {
    char first = 0;
    return connection->peek(&first, 1, std::chrono::milliseconds::zero()) == 0 &&
           !connection->isAlive();
}

Door::Stranger::Stranger(std::unique_ptr<Connection> accepted)
    : connection(std::move(accepted)),
      reader(std::make_unique<MessageReader>(*connection, handshakePatience)) {}

Door::Door(unsigned short port, const MasterList& admitted, DrLog& target)
    : listener(Listener::Reach::AllInterfaces, port),
      masterList(admitted),
      log(target),
      bogusConnections(target, bogusLine),
      refusedAddresses(target, refusedLine),
      leftMasters(target, leftLine),
      turnedAway(target, turnedAwayLine) {
    if (!isOk())
        return;
    setup(workerStackBytes, "MY_Door");
    run([](void* self) { static_cast<Door*>(self)->serve(); }, this);
}

Door::~Door() {
    requestStop();
    waitUntilParked();
}

std::optional<Master> Door::next(Clock::time_point latest) {
    // Not at the end of time: some systems' clocks cannot count that far.
    const auto longest = std::min(latest, Clock::now() + std::chrono::hours(24));
    std::unique_lock hold(lock);
    isWanted = true;
    wakeUp.set();
    handedOver.wait_until(hold, longest,
                          [this] { return whoseTurnIs.has_value() || stopRequested; });
    isWanted = false;
    return std::exchange(whoseTurnIs, std::nullopt);
}

void Door::requestStop() {
    const std::lock_guard hold(lock);
    stopRequested = true;
    wakeUp.set();
    handedOver.notify_all();
}

void Door::serve() {
    while (!stopRequested) {
        std::vector<WaitedSocket> watched = socketsToWatch();
        waitForSockets(watched, nextDeadline());
        wakeUp.clear();
        dropThoseWhoLeft(std::span(watched).last(waiting.size()));
        hearStrangers();
        admitNewcomers(watched[1].ready);
        handOver();
        for (LineFold* fold : {&bogusConnections, &refusedAddresses, &leftMasters, &turnedAway})
            fold->tick();
    }
    // A job may go on for hours yet: those who wait for its end need not.
    strangers.clear();
    waiting.clear();
    for (LineFold* fold : {&bogusConnections, &refusedAddresses, &leftMasters, &turnedAway})
        fold->summarise();
}

std::vector<WaitedSocket> Door::socketsToWatch() const {
    const bool accepts = Clock::now() >= acceptsAgain;
    std::vector<WaitedSocket> sockets = {
        {wakeUp.handle()}, {listener.handle(), accepts ? WaitFor::Input : WaitFor::End}};
    for (const Stranger& stranger : strangers)
        sockets.push_back({stranger.connection->handle()});
    for (const Waiting& entry : waiting)
        sockets.push_back({entry.master.connection->handle(), entry.expects});
    return sockets;
}

Door::Clock::time_point Door::nextDeadline() const {
    Clock::time_point next = Clock::time_point::max();
    for (const LineFold* fold : {&bogusConnections, &refusedAddresses, &leftMasters, &turnedAway})
        next = std::min(next, fold->due());
    for (const Stranger& stranger : strangers)
        next = std::min(next, stranger.reader->deadline());
    return Clock::now() < acceptsAgain ? std::min(next, acceptsAgain) : next;
}

void Door::admitNewcomers(bool announced) {
    for (int i = 0; announced && i < mostNewcomersAtOnce; ++i) {
        auto connection = listener.takeWaiting();
        if (connection == nullptr) {
            if (i == 0)
                acceptsAgain = Clock::now() + pauseAfterFailure;
            return;
        }
        admit(std::move(connection));
    }
}

void Door::admit(std::unique_ptr<Connection> connection) {
    const String address = connection->peerAddress();
    if (!masterList.admits(address)) {
        refusedAddresses.write(refusedLine + address + ": it is not among the masters");
        return;
    }
    Stranger newest(std::move(connection));
    if (isSettled(newest))
        return;
    strangers.push_back(std::move(newest));
    makeRoom(address);
}

void Door::makeRoom(const String& newest) {
    std::vector<Stranger*> all;
    std::vector<Stranger*> neighbours;
    // Not the newest: where all others have said something it would be the only silent one, and a
    // byte from each would keep everybody out whose handshake takes longer than the connection.
    for (Stranger& stranger : std::span(strangers).first(strangers.size() - 1)) {
        all.push_back(&stranger);
        if (stranger.connection->peerAddress() == newest)
            neighbours.push_back(&stranger);
    }
    if (neighbours.size() >= mostStrangersOfOneAddress)
        dropOldest(neighbours);
    else if (all.size() >= mostStrangers)
        dropOldest(all);
}

void Door::dropOldest(const std::vector<Stranger*>& candidates) {
    Stranger* oldest = candidates.front();
    bool settled = false;
    for (Stranger* candidate : candidates) {
        // What it has said meanwhile counts.
        settled = isSettled(*candidate);
        if (!settled && !candidate->isSilent())
            continue;
        oldest = candidate;
        break;
    }
    if (!settled)
        logBogus(*oldest);
    std::erase_if(strangers, [&](const Stranger& stranger) { return &stranger == oldest; });
}

void Door::hearStrangers() {
    std::erase_if(strangers, [this](Stranger& stranger) { return isSettled(stranger); });
}

bool Door::isSettled(Stranger& stranger) {
    if (!stranger.reader->advance())
        return false;
    const ReceivedMessage& message = stranger.reader->message();
    const auto handshake = message.isWhole() ? MasterHandshake::read(message.text) : std::nullopt;
    if (handshake)
        letWait({std::move(stranger.connection), message.text, handshake->job});
    else
        logBogus(stranger);
    return true;
}

void Door::letWait(Master master) {
    if (waiting.size() < mostMasters)
        waiting.push_back({std::move(master)});
    else
        turnedAway.write(turnedAwayLine + master.connection->peerAddress());
}

void Door::dropThoseWhoLeft(std::span<const WaitedSocket> watched) {
    std::erase_if(waiting, [&, next = watched.begin()](Waiting& entry) mutable {
        const bool left = hasLeft(entry, *next++);
        if (left)
            leftMasters.write(leftLine + entry.master.connection->peerAddress());
        return left;
    });
}

bool Door::hasLeft(Waiting& entry, const WaitedSocket& watched) {
    if (!watched.ready)
        return false;
    if (entry.expects == WaitFor::End)
        return true;
    const bool left = entry.master.hasLeft();
    // Its scene comes early; what follows it may be its end.
    entry.expects = WaitFor::End;
    return left;
}

void Door::handOver() {
    const std::lock_guard hold(lock);
    if (!isWanted || waiting.empty())
        return;
    whoseTurnIs = std::move(waiting.front().master);
    waiting.pop_front();
    isWanted = false;
    handedOver.notify_all();
}

void Door::logBogus(const Stranger& stranger) {
    const String shown = shownInLog(stranger.reader->message().text);
    if (!bogusConnections.admit(shown.length()))
        return;
    // That it was this machine says nothing.
    const String address = stranger.connection->peerAddress();
    if (!Str::startsWith(address, u"127."))
        log.log(strangerLine + address + ":");
    log.log(bogusLine + shown);
    log.log(readyLine);
}

}  // namespace Orvane
