#include "server/MasterLoop.h"

#include <algorithm>

#include "OrvaneCore/Str.h"
#include "protocol/Framing.h"
#include "protocol/Timeouts.h"
#include "server/JobPlan.h"
#include "server/RenderJob.h"
#include "server/StrangersText.h"

namespace Orvane {

namespace {

const char* const lostLine = "Error writing response";
const char* const acceptedLine = "Accepted remote connection from";
const char* const readyLine = "Ready for new connection";
// Masters with another host release try one node after the other; a flood is more than that.
constexpr std::int32_t mostRefusedJobs = 100;

String onOneLine(String text) {
    Str::replaceAll(text, u"\r", u" ");
    Str::replaceAll(text, u"\n", u" ");
    return text;
}

JobReceipt receiptOf(const JobPlan& plan, const Connection& master) {
    JobReceipt receipt;
    receipt.master = master.peerAddress();
    receipt.releaseAsked = plan.sceneYear;
    receipt.releaseUsed = plan.hostYear;
    receipt.frames = plan.request.frameName;
    receipt.camera = plan.request.cameraName;
    if (plan.isRefused())
        receipt.ending = {JobOutcome::Refused, plan.refusal};
    return receipt;
}

}  // namespace

MasterLoop::MasterLoop(Door& masterDoor, const JobServices& jobServices,
                       const std::atomic<bool>& stopFlag)
    : door(masterDoor),
      services(jobServices),
      log(jobServices.log),
      stopRequested(stopFlag),
      lostConnections(log, lostLine),
      refusedJobs(log, acceptedLine, mostRefusedJobs) {}

void MasterLoop::run() {
    while (!stopRequested) {
        if (auto master = door.next(
                std::min({lostConnections.due(), refusedJobs.due(), services.book.due()})))
            serve(*master);
        lostConnections.tick();
        refusedJobs.tick();
        services.book.tick();
    }
}

void MasterLoop::serve(Master& master) {
    if (!answer(master))
        return;
    perform(planJob(master.request, services.config), master);
    // With unread input a bare close would reset the connection, and the last image with it.
    master.connection->closeAfterDelivery(Timeouts::lastDelivery);
}

bool MasterLoop::answer(Master& master) {
    // A connection whose other end has gone still takes bytes for a while.
    if (!master.hasLeft() && writeMessage(*master.connection, MasterWelcome::text(),
                                          Timeouts::masterHandshakeSeconds) == 0)
        return true;
    if (lostConnections.admit()) {
        log.log(lostLine);
        log.log(readyLine);
    }
    return false;
}

void MasterLoop::perform(const JobPlan& plan, Master& master) {
    JobReceipt receipt = receiptOf(plan, *master.connection);
    if (!logAccepted(plan, master)) {
        services.book.leaveOut(receipt);
        return;
    }
    if (plan.isRefused()) {
        log.log(plan.refusal);
    } else {
        services.book.begin(receipt);
        RenderJob(services, *master.connection, plan, receipt).run();
    }
    services.book.end(receipt);
    log.log(readyLine);
    services.book.afterwards(receipt);
}

bool MasterLoop::logAccepted(const JobPlan& plan, const Master& master) {
    const String shown = shownInLog(onOneLine(master.handshake));
    if (plan.isRefused() && !refusedJobs.admit(shown.length()))
        return false;
    log.log(String(acceptedLine) + " " + master.connection->peerAddress());
    log.log(String("Handshake: ") + shown);
    return true;
}

}  // namespace Orvane
