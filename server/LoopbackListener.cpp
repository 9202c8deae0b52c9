#include "server/LoopbackListener.h"

#include <array>

#include "OrvaneCore/Str.h"
#include "protocol/Framing.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"
#include "server/PortInUse.h"
#include "server/StrangersText.h"

namespace Orvane {

namespace {

constexpr std::chrono::seconds longestDrain{10};

}  // namespace

LoopbackListener::LoopbackListener(DrLog& target)
    : log(target),
      listener(Listener::Reach::Loopback, loopbackPort, Timeouts::pluginAcceptSeconds),
      strangers(target, "WARNING: A local application connected to DR server") {
    if (!listener.isOk())
        showPortInUse("Cannot bind to loopback port (TCP ", loopbackPort);
}

void LoopbackListener::drainPendingConnections() {
    const auto deadline = std::chrono::steady_clock::now() + longestDrain;
    while (listener.takeWaiting() != nullptr) {
        if (std::chrono::steady_clock::now() >= deadline) {
            log.log(String("Stopped closing stale local connections after ") +
                    Str::toWString(static_cast<std::int32_t>(longestDrain.count())) +
                    " seconds: more keep coming");
            return;
        }
    }
}

std::unique_ptr<Connection> LoopbackListener::awaitCaller(const WaitSignal& hostEnd) {
    if (!listener.isOk())
        return listener.accept();
    constexpr std::chrono::seconds longest{Timeouts::pluginAcceptSeconds};
    std::array<WaitedSocket, 2> waited = {{{listener.handle()}, {hostEnd.handle()}}};
    waitForSockets(waited, SocketClock::now() + longest);
    return waited[0].ready ? listener.accept() : nullptr;
}

bool LoopbackListener::tryLocalHandshake(const DrConfig& config, const FrameInfo& frameInfo,
                                         const WaitSignal& hostEnd) {
    strangers.tick();
    plugin = awaitCaller(hostEnd);
    if (plugin == nullptr)
        return false;
    pluginTakesCommands = true;
    const PluginJob job{config.dataFolder, frameInfo};
    // Not looked at: who has not got it will not answer.
    (void)writeMessage(*plugin, job.text(), Timeouts::pluginHandshakeSeconds);
    const ReceivedMessage answer = readMessage(*plugin, Timeouts::pluginHandshakeSeconds);
    // One that only lacks its zero is as good as whole, unless it broke a limit.
    if (!answer.isRefused() && PluginAnswer::read(answer.text))
        return true;
    strangers.write(
        String("WARNING: A local application connected to DR server, but did not follow required "
               "protocol. This could some other application in this computer is using port TCP ") +
        Str::toWString(loopbackPort) + ". Received response is: \"" + shownInLog(answer.text) +
        "\"");
    plugin.reset();
    return false;
}

void LoopbackListener::forwardEndRender() {
    // A plug-in that has gone needs no telling; and one that did not take the last in its time is
    // not waited for again, or many of them would hold up the job for hours.
    if (plugin != nullptr && pluginTakesCommands)
        pluginTakesCommands =
            writeMessage(*plugin, EndRender::text(), Timeouts::commandWriteSeconds) == 0;
}

void LoopbackListener::closeLocalConnection() {
    // Ended before it is closed, so that an end command on its way still arrives.
    if (plugin != nullptr)
        plugin->closeAfterDelivery(std::chrono::milliseconds::zero());
    plugin.reset();
}

bool LoopbackListener::isPluginAlive() {
    if (plugin == nullptr)
        return false;
    plugin->discardInput();
    return plugin->isAlive();
}

}  // namespace Orvane
