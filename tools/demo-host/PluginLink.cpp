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
    String greeting;
    // The server speaks first here.
    if (readMessage(*connection, greeting, pluginHandshakeSeconds) != 0 ||
        !messageHas(greeting, Tag::local, "HandshakeResponse", "ok"))
        throw std::runtime_error("the DR server does not greet");
    const DrMessage message = DrMessage::parse(greeting);
    folder = message.value("DumpFilename");
    message.readFrameInfo(info);
    const String answer = buildMessage(Tag::local, "HandshakeInit", "init");
    if (writeMessage(*connection, answer, pluginHandshakeSeconds) != 0)
        throw std::runtime_error("the DR server closed the connection");
}

bool PluginLink::isEnded(std::chrono::milliseconds longest) {
    char first = 0;
    if (connection->peek(&first, 1, longest) == 0)
        return !connection->isAlive();
    String text;
    return readMessage(*connection, text, pluginHandshakeSeconds) != 0 ||
           messageHas(text, Tag::command, Tag::commandChild, Tag::endRender);
}

}  // namespace Orvane
