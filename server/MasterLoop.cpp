#include "server/MasterLoop.h"

#include <utility>

#include "OrvaneCore/Str.h"
#include "protocol/DrMessage.h"
#include "protocol/Framing.h"
#include "server/StrangersText.h"

namespace Orvane {

namespace {

constexpr int handshakeTimeoutSeconds = 5;
// For a master that does not close: it has had its images long before.
constexpr std::chrono::seconds longestDelivery{2};

const char* const bogusLine = "Got bogus master connection: ";
const char* const lostLine = "Error writing response";
const char* const refusedLine = "Accepted remote connection from";
const char* const readyLine = "Ready for new connection";
// Masters with another host release try one node after the other; a flood is more than that.
constexpr std::int32_t mostRefusedJobs = 100;

String onOneLine(String text) {
    Str::replaceAll(text, u"\r", u" ");
    Str::replaceAll(text, u"\n", u" ");
    return text;
}

}  // namespace

MasterLoop::MasterLoop(Listener& masterListener, DrLog& target, const std::atomic<bool>& stopFlag,
                       Preparation prepareJob)
    : listener(masterListener),
      log(target),
      stopRequested(stopFlag),
      prepare(std::move(prepareJob)),
      bogusConnections(target, bogusLine),
      lostConnections(target, lostLine),
      refusedJobs(target, refusedLine, mostRefusedJobs) {}

void MasterLoop::run() {
    while (!stopRequested) {
        if (const auto master = listener.accept())
            serve(*master);
        bogusConnections.tick();
        lostConnections.tick();
        refusedJobs.tick();
    }
}

void MasterLoop::serve(Connection& master) {
    String handshake;
    if (readMessage(master, handshake, handshakeTimeoutSeconds) == 0 &&
        messageHas(handshake, Tag::remote, "HandshakeInit", "init")) {
        converse(master, handshake);
        return;
    }
    const String shown = shownInLog(handshake);
    if (!bogusConnections.admit(shown.length()))
        return;
    log.log(bogusLine + shown);
    log.log(readyLine);
}

void MasterLoop::converse(Connection& master, const String& handshake) {
    if (!answer(master)) {
        if (lostConnections.admit()) {
            log.log(lostLine);
            log.log(readyLine);
        }
        return;
    }
    const Job job = prepare(master, handshake);
    const String shown = shownInLog(onOneLine(handshake));
    const bool refused = !job.refusal.isEmpty();
    const bool logged = !refused || refusedJobs.admit(shown.length());
    if (logged) {
        log.log(String("Accepted remote connection from ") + master.peerAddress());
        log.log(String("Handshake: ") + shown);
    }
    if (!refused)
        job.run();
    else if (logged)
        log.log(job.refusal);
    if (logged)
        log.log(readyLine);
    // With unread input a bare close would reset the connection, and the last image with it.
    master.closeAfterDelivery(longestDelivery);
}

bool MasterLoop::answer(Connection& master) {
    return writeMessage(master, buildMessage(Tag::remote, "HandshakeResponse", "ok")) == 0;
}

}  // namespace Orvane
