#include "JobSession.h"

#include "ExitStatus.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/Str.h"
#include "protocol/Framing.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

constexpr int connectSeconds = 5;

Failure busy() {
    return {ExitStatus::Busy, "The server accepts the connection but does not answer: it is busy",
            "It serves another master until that job and its host have ended. Try again later."};
}

}  // namespace

std::unique_ptr<Connection> connectToServer(const String& server) {
    auto connection = Connection::connect(server, masterPort, connectSeconds);
    if (connection != nullptr)
        return connection;
    throw Failure(
        ExitStatus::Unreachable,
        "No connection to TCP port " + std::to_string(masterPort) + " of " + toAnsi(server),
        "Is the DR server running there, and does the firewall let this port through?");
}

JobSession::JobSession(std::unique_ptr<Connection> connected, const FrameInfo& job,
                       std::chrono::milliseconds patience)
    : connection(std::move(connected)) {
    shakeHands(job, patience);
}

void JobSession::shakeHands(const FrameInfo& job, std::chrono::milliseconds patience) {
    // A busy server finds this handshake in its queue even when this master has given up. Only a
    // reset keeps it from starting a host for nobody.
    connection->resetOnClose(true);
    // A server that has gone is found out by the answer that does not come.
    (void)writeMessage(*connection, MasterHandshake{job}.text(), Timeouts::commandWriteSeconds);
    char first = 0;
    if (connection->peek(&first, 1, patience) == 0 && connection->isAlive())
        throw busy();
    const ReceivedMessage answer = readMessage(*connection, Timeouts::commandWriteSeconds);
    if (!answer.isWhole() || !MasterWelcome::read(answer.text))
        throw Failure(
            ExitStatus::Refused, "The server refused the handshake",
            "The log of the DR server says why, if it is a DR server that listens there.");
    connection->resetOnClose(false);
}

void JobSession::sendScene(InputFile& scene, ProgressBar& progress) {
    int failed = 0;
    try {
        failed = sendFile(*connection, scene, ProgressBar::onProgress, &progress);
    } catch (const Exception& error) {
        throw Failure(ExitStatus::UnreadableScene, error.what());
    }
    if (failed != 0)
        throw Failure(ExitStatus::ConnectionLost,
                      "The connection was lost while the scene was sent, after " +
                          sizeText(progress.bytesMoved()),
                      "The log of the DR server says why: it may have no host for this version.");
}

JobSession::Event JobSession::wait(std::chrono::milliseconds longest) {
    char first = 0;
    if (connection->peek(&first, 1, longest) == 0) {
        if (connection->isAlive())
            return Event::Nothing;
        return connection->isBroken() ? Event::Lost : Event::Closed;
    }
    const ReceivedMessage message = readMessage(*connection, Timeouts::commandWriteSeconds);
    if (!message.isWhole())
        return Event::Lost;
    return DumpExr::read(message.text) ? Event::Image : Event::Nothing;
}

void JobSession::receiveImage(const String& path, ProgressBar& progress) {
    int failed = 0;
    try {
        failed = receiveFile(*connection, path, ProgressBar::onProgress, &progress);
    } catch (const Exception& error) {
        throw Failure(ExitStatus::UnwritableFolder, error.what(),
                      "Free some space, or name another folder with --output.");
    }
    if (failed == 0)
        return;
    const std::string size =
        progress.bytesAnnounced() < 0 ? "" : " of " + sizeText(progress.bytesAnnounced());
    throw Failure(ExitStatus::ShortFile, "The connection ended within an image" + size,
                  "Try again; if it happens again, see the log of the DR server.");
}

void JobSession::endRender() {
    // A server that has just closed is found out by the next wait().
    (void)writeMessage(*connection, EndRender::text(), Timeouts::commandWriteSeconds);
}

}  // namespace Orvane
