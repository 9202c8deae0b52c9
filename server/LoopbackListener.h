#pragma once

#include <memory>

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"
#include "protocol/Listener.h"
#include "protocol/Messages.h"
#include "server/LineFold.h"

namespace Orvane {

/// The link to the renderer plug-in inside the host that this server started. Holds at most one
/// connection, from a good handshake until closeLocalConnection(). Made and destroyed by the
/// start-up thread, used by the master thread in between.
class LoopbackListener {
  public:
    /// Binds the port; a port in use is shown in a message box and leaves a listener on which
    /// nobody ever calls.
    explicit LoopbackListener(DrLog& target);

    /// Throws away connections that an earlier host left behind, until none waits. Never takes more
    /// than ten seconds: a program that connects again and again must not hold up a job.
    void drainPendingConnections();
    /// Waits a second for a connection, but not for the plug-in of a host that has ended, and, if
    /// one comes, tells it the job; true when it answers as the plug-in does and is now held.
    [[nodiscard]] bool tryLocalHandshake(const DrConfig& config, const FrameInfo& frameInfo,
                                         const WaitSignal& hostEnd);
    /// Written if the plug-in is there to take it, and took the one before.
    void forwardEndRender();
    void closeLocalConnection();

    /// False once the plug-in has closed its side, even with unread bytes before the end.
    bool isPluginAlive();
    /// Only while isPluginAlive().
    const Connection& pluginConnection() const { return *plugin; }

  private:
    std::unique_ptr<Connection> awaitCaller(const WaitSignal& hostEnd);

    DrLog& log;
    Listener listener;
    LineFold strangers;
    std::unique_ptr<Connection> plugin;
    bool pluginTakesCommands = true;
};

}  // namespace Orvane
