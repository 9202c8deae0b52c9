#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "OrvaneCore/String.h"
#include "protocol/Connection.h"
#include "protocol/FileTransfer.h"
#include "protocol/Messages.h"

namespace Orvane {

/// To the master port. Throws Failure (Unreachable).
std::unique_ptr<Connection> connectToServer(const String& server);

/// Told of the bytes moved so far and of all, once for each chunk. What it throws ends the transfer
/// and is passed on.
using TransferWatch = std::function<void(std::int64_t moved, std::int64_t size)>;

/// No image that could be read has more bytes: a node that announces more is not let fill the disk.
constexpr std::int64_t largestImageBytes = 3'000'000'000;

/// The master's side of one job, from the handshake to its end. Used by one thread at a time. What
/// goes wrong is thrown as Failure.
class JobSession {
  public:
    /// Sends the handshake. A server that serves another master reads it when its turn comes.
    JobSession(std::unique_ptr<Connection> connected, const FrameInfo& job);

    /// What to ask for when only the answer counts: the server gives it first and looks at the
    /// release then, so no host is ever started for this.
    static FrameInfo noJob() { return {"chk0", {}, {}}; }

    /// Whether the handshake has been answered within `longest`. To be called until it is, before
    /// anything else.
    bool awaitAnswer(std::chrono::milliseconds longest);
    /// The same; throws Failure (Busy) when it is not.
    void requireAnswer(std::chrono::milliseconds longest);

    void sendScene(InputFile& scene, const TransferWatch& watch);

    enum class Event { Nothing, Image, Closed, Lost };
    /// What the server does next, if it does anything within `longest`. After Image the file must
    /// be received at once.
    Event wait(std::chrono::milliseconds longest);
    void receiveImage(const String& path, const TransferWatch& watch);
    /// Images that are under way still follow.
    void endRender();

  private:
    void noteUnknownMessage();

    std::unique_ptr<Connection> connection;
    int unknownMessages = 0;
};

}  // namespace Orvane
