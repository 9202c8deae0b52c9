#pragma once

#include <chrono>
#include <memory>

#include "OrvaneCore/String.h"
#include "ProgressBar.h"
#include "protocol/Connection.h"
#include "protocol/FileTransfer.h"
#include "protocol/Messages.h"

namespace Orvane {

/// To the master port. Throws Failure (Unreachable).
std::unique_ptr<Connection> connectToServer(const String& server);

/// The master's side of one job, from the handshake to its end. Main thread only. What goes wrong
/// is thrown as Failure.
class JobSession {
  public:
    /// Waits up to `patience` for the handshake to be answered: a server that serves another master
    /// lets its next one wait.
    JobSession(std::unique_ptr<Connection> connected, const FrameInfo& job,
               std::chrono::milliseconds patience);

    void sendScene(InputFile& scene, ProgressBar& progress);

    enum class Event { Nothing, Image, Closed, Lost };
    /// What the server does next, if it does anything within `longest`. After Image the file must
    /// be received at once.
    Event wait(std::chrono::milliseconds longest);
    void receiveImage(const String& path, ProgressBar& progress);
    /// Images that are under way still follow.
    void endRender();

  private:
    void shakeHands(const FrameInfo& job, std::chrono::milliseconds patience);

    std::unique_ptr<Connection> connection;
};

}  // namespace Orvane
