#include "server/DiscoveryReplier.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "OrvaneCore/Str.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"
#include "server/WorkerStack.h"

namespace Orvane {

namespace {

// While datagrams come in floods: the socket's buffer holds some hundreds, and a master's ping that
// finds it full is lost.
constexpr std::chrono::milliseconds floodPollPeriod{10};
constexpr int flood = 16;
// A flood that comes in bursts is one flood.
constexpr int quickPolls = 100;
// Nobody may keep the loop from looking at its stop flag.
constexpr int mostAtOnce = 512;
// The only defence against lost datagrams.
constexpr int replies = 4;
// Many masters may look for nodes at the same time.
constexpr std::int32_t mostAnsweredLines = 200;

const char* const pingLine = "Got discovery ping";
const char* const refusedLine = "Refused a discovery ping from ";
const char* const replyLine = "Replying to discovery ping from ";

String noReplyLine() {
    const auto seconds = static_cast<std::int32_t>(ReplyLimit::window.count());
    return "Not replying to more than " + Str::toWString(ReplyLimit::mostReplies) +
           " discovery pings in " + Str::toWString(seconds) + " seconds from ";
}

void reply(DatagramSocket& socket) {
    const std::string bytes = wireBytes(DiscoveryReply::text());
    for (int i = 0; i < replies; ++i)
        socket.reply(bytes.data(), bytes.size());
}

std::unique_ptr<DatagramSocket> openDiscoverySocket() {
    return std::make_unique<DatagramSocket>(discoveryPort);
}

}  // namespace

bool isAnswered(const String& ping, const DrConfig& config) {
    const auto request = DiscoveryRequest::read(ping);
    return request && !config.hostPath(request->year).isEmpty();
}

DiscoveryReplier::DiscoveryReplier(DrLog& target, const DrConfig& settings, SocketOpener opener)
    : log(target),
      config(settings),
      openSocket(opener != nullptr ? opener : openDiscoverySocket),
      ignoredPings(target, pingLine),
      answeredPings(target, replyLine, mostAnsweredLines),
      refusedPings(target, refusedLine),
      unansweredPings(target, noReplyLine()) {
    setup(workerStackBytes, "MY_DiscoveryReplier");
    run([](void* self) { static_cast<DiscoveryReplier*>(self)->serve(); }, this);
}

DiscoveryReplier::~DiscoveryReplier() {
    requestStop();
    waitUntilParked();
}

void DiscoveryReplier::serve() {
    const auto socket = openSocket();
    if (!socket->isOk()) {
        log.log(String("Cannot bind to discovery port (UDP ") + Str::toWString(discoveryPort) +
                ")");
        return;
    }
    log.log(String("Starting UDP socket, local hostname: ") + socket->localAddress());
    int quick = 0;  // polls before the pace slows down again
    while (!stopRequested) {
        quick = takeWaiting(*socket) >= flood ? quickPolls : std::max(quick - 1, 0);
        std::this_thread::sleep_for(quick > 0 ? floodPollPeriod : Timeouts::discoveryPoll);
        for (LineFold* fold : {&ignoredPings, &answeredPings, &refusedPings, &unansweredPings})
            fold->tick();
    }
    for (LineFold* fold : {&ignoredPings, &answeredPings, &refusedPings, &unansweredPings})
        fold->summarise();
}

int DiscoveryReplier::takeWaiting(DatagramSocket& socket) {
    int taken = 0;
    for (int turn = 0; turn < mostAtOnce; ++turn) {
        // One byte more than is received: the text always ends in a zero.
        std::array<char, 256> ping{};
        const auto arrival = socket.receive(ping.data(), ping.size() - 1);
        if (arrival == DatagramSocket::Arrival::Nothing)
            break;
        // An error is no datagram, and one that does not pass must not set the pace.
        taken += arrival == DatagramSocket::Arrival::Datagram ? 1 : 0;
        if (ping[0] != '\0')
            take(socket, String(ping.data()));
    }
    return taken;
}

void DiscoveryReplier::take(DatagramSocket& socket, const String& ping) {
    const String sender = socket.senderAddress();
    if (!config.masters.admits(sender)) {
        refusedPings.write(refusedLine + sender + ": it is not among the masters");
        return;
    }
    if (!isAnswered(ping, config)) {
        ignoredPings.write(pingLine);
        return;
    }
    if (!replyLimit.allows(toAnsi(sender))) {
        unansweredPings.write(noReplyLine() + sender);
        return;
    }
    const bool logged = answeredPings.admit();
    if (logged)
        log.log(pingLine);
    reply(socket);
    if (logged)
        log.log(replyLine + sender);
}

}  // namespace Orvane
