#include "JobSession.h"

#include <limits>

#include "ExitStatus.h"
#include "OrvaneCore/Exception.h"
#include "ProgressBar.h"
#include "protocol/Framing.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

/// The watch on a transfer, and what it has been told.
struct Transfer {
    const TransferWatch& watch;
    std::int64_t mostBytes = std::numeric_limits<std::int64_t>::max();
    std::int64_t moved = 0;
    std::int64_t size = -1;  // before the first chunk

    static void onProgress(void* transfer, std::int64_t bytesMoved, std::int64_t allBytes) {
        auto& self = *static_cast<Transfer*>(transfer);
        self.moved = bytesMoved;
        self.size = allBytes;
        if (allBytes > self.mostBytes)
            throw Failure(ExitStatus::DamagedImage,
                          "The server announces an image of " + sizeText(allBytes));
        self.watch(bytesMoved, allBytes);
    }
};

Failure shortImage(std::int64_t size, bool connectionLives) {
    if (size < 0 && connectionLives)
        return {ExitStatus::ShortFile, "The server announces an image without a size",
                "Is it a DR server that listens there?"};
    return {ExitStatus::ShortFile,
            "The connection ended within an image" +
                (size < 0 ? std::string() : " of " + sizeText(size)),
            "Try again; if it happens again, see the log of the DR server."};
}

Failure busy() {
    return {ExitStatus::Busy, "The server accepts the connection but does not answer: it is busy",
            "It serves another master until that job and its host have ended. Try again later."};
}

}  // namespace

std::unique_ptr<Connection> connectToServer(const String& server) {
    auto connection = Connection::connect(server, masterPort, Timeouts::connectSeconds);
    if (connection != nullptr)
        return connection;
    throw Failure(
        ExitStatus::Unreachable,
        "No connection to TCP port " + std::to_string(masterPort) + " of " + toAnsi(server),
        "Is the DR server running there, and does the firewall let this port through?");
}

JobSession::JobSession(std::unique_ptr<Connection> connected, const FrameInfo& job)
    : connection(std::move(connected)) {
    // A master that gives up has nothing to say and no use for what is under way.
    connection->resetOnClose(true);
    // A server that has gone is found out by the answer that does not come.
    (void)writeMessage(*connection, MasterHandshake{job}.text(), Timeouts::commandWriteSeconds);
}

bool JobSession::awaitAnswer(std::chrono::milliseconds longest) {
    char first = 0;
    if (connection->peek(&first, 1, longest) == 0 && connection->isAlive())
        return false;
    const ReceivedMessage answer = readMessage(*connection, Timeouts::commandWriteSeconds);
    if (!answer.isWhole() || !MasterWelcome::read(answer.text))
        throw Failure(
            ExitStatus::Refused, "The server refused the handshake",
            "The log of the DR server says why, if it is a DR server that listens there.");
    connection->resetOnClose(false);
    return true;
}

void JobSession::requireAnswer(std::chrono::milliseconds longest) {
    if (!awaitAnswer(longest))
        throw busy();
}

void JobSession::sendScene(InputFile& scene, const TransferWatch& watch) {
    Transfer transfer{watch};
    int failed = 0;
    try {
        failed = sendFile(*connection, scene, Transfer::onProgress, &transfer);
    } catch (const Exception& error) {
        throw Failure(ExitStatus::UnreadableScene, error.what());
    }
    if (failed != 0)
        throw Failure(
            ExitStatus::ConnectionLost,
            "The connection was lost while the scene was sent, after " + sizeText(transfer.moved),
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
    if (DumpExr::read(message.text))
        return Event::Image;
    noteUnknownMessage();
    return Event::Nothing;
}

void JobSession::noteUnknownMessage() {
    // A later release may say what this one does not know, but not without end.
    constexpr int mostUnknownMessages = 100;
    if (++unknownMessages > mostUnknownMessages)
        throw Failure(ExitStatus::ConnectionLost, "The server sends messages that mean nothing",
                      "Is it a DR server that listens there?");
}

void JobSession::receiveImage(const String& path, const TransferWatch& watch) {
    Transfer transfer{watch, largestImageBytes};
    int failed = 0;
    try {
        failed = receiveFile(*connection, path, Transfer::onProgress, &transfer);
    } catch (const Exception& error) {
        throw Failure(ExitStatus::UnwritableFolder, error.what(),
                      "Free some space, or name another folder with --output.");
    }
    if (failed != 0)
        throw shortImage(transfer.size, connection->isAlive());
}

void JobSession::endRender() {
    // A server that has just closed is found out by the next wait().
    (void)writeMessage(*connection, EndRender::text(), Timeouts::commandWriteSeconds);
}

}  // namespace Orvane
