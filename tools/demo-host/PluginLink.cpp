#include "PluginLink.h"

#include <stdexcept>

#include "protocol/Framing.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"

namespace Orvane {

using Timeouts::pluginHandshakeSeconds;

PluginLink::PluginLink()
    : connection(Connection::connect("127.0.0.1", loopbackPort, pluginHandshakeSeconds)) {
    if (connection == nullptr)
        throw std::runtime_error("no DR server listens on this machine");
    shakeHands();
}

void PluginLink::shakeHands() {
    // The server speaks first here.
    const ReceivedMessage greeting = readMessage(*connection, pluginHandshakeSeconds);
    const auto told = greeting.isWhole() ? PluginJob::read(greeting.text) : std::nullopt;
    if (!told)
        throw std::runtime_error("the DR server does not greet");
    folder = told->dumpFolder;
    info = told->job;
    if (writeMessage(*connection, PluginAnswer::text(), pluginHandshakeSeconds) != 0)
        throw std::runtime_error("the DR server closed the connection");
}

bool PluginLink::isEnded(std::chrono::milliseconds longest) {
    char first = 0;
    if (connection->peek(&first, 1, longest) == 0)
        return !connection->isAlive();
    const ReceivedMessage message = readMessage(*connection, pluginHandshakeSeconds);
    return !message.isWhole() || EndRender::read(message.text);
}

}  // namespace Orvane
