#include "server/MasterLoop.h"

#include <utility>

#include "OrvaneCore/Str.h"
#include "protocol/DrMessage.h"
#include "protocol/Framing.h"

namespace Orvane {

namespace {

constexpr int handshakeTimeoutSeconds = 5;
// For a master that does not close: it has had its images long before.
constexpr std::chrono::seconds longestDelivery{2};

const char* const bogusLine = "Got bogus master connection: ";
const char* const readyLine = "Ready for new connection";

String onOneLine(String text) {
    Str::replaceAll(text, u"\r", u" ");
    Str::replaceAll(text, u"\n", u" ");
    return text;
}

}  // namespace

MasterLoop::MasterLoop(Listener& masterListener, DrLog& target, const std::atomic<bool>& stopFlag,
                       Job work)
    : listener(masterListener),
      log(target),
      stopRequested(stopFlag),
      job(std::move(work)),
      bogusConnections(target, bogusLine),
      endsOfBogusConnections(target, readyLine) {}

void MasterLoop::run() {
    while (!stopRequested) {
        if (const auto master = listener.accept())
            serve(*master);
        bogusConnections.tick();
        endsOfBogusConnections.tick();
    }
}

void MasterLoop::serve(Connection& master) {
    String handshake;
    if (readMessage(master, handshake, handshakeTimeoutSeconds) != 0 ||
        !messageHas(handshake, Tag::remote, "HandshakeInit", "init")) {
        bogusConnections.write(bogusLine + handshake);
        endsOfBogusConnections.write(readyLine);
        return;
    }
    if (answer(master)) {
        log.log(String("Accepted remote connection from ") + master.peerAddress());
        log.log(String("Handshake: ") + onOneLine(handshake));
        job(master, handshake);
    }
    log.log(readyLine);
    // With unread input a bare close would reset the connection, and the last image with it.
    master.closeAfterDelivery(longestDelivery);
}

bool MasterLoop::answer(Connection& master) {
    if (writeMessage(master, buildMessage(Tag::remote, "HandshakeResponse", "ok")) == 0)
        return true;
    log.log("Error writing response");
    return false;
}

}  // namespace Orvane
