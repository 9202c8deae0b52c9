#pragma once

#include <chrono>
#include <memory>

#include "OrvaneCore/String.h"
#include "protocol/Connection.h"
#include "protocol/Messages.h"

namespace Orvane {

/// The renderer plug-in's side of its link to the DR server on this machine. One thread.
class PluginLink {
  public:
    /// Connects and shakes hands. Throws std::runtime_error.
    PluginLink();

    /// Where finished images go.
    const String& dumpFolder() const { return folder; }
    const FrameInfo& job() const { return info; }

    /// Waits up to `longest`; true once the server wants no more images, or is gone.
    bool isEnded(std::chrono::milliseconds longest);

  private:
    void shakeHands();

    std::unique_ptr<Connection> connection;
    String folder;
    FrameInfo info;
};

}  // namespace Orvane
