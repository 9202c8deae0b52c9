#include "PluginLink.h"

#include <stdexcept>

#include "protocol/Framing.h"
#include "protocol/Ports.h"

namespace Orvane {

namespace {

constexpr int timeoutSeconds = 20;

}  // namespace

PluginLink::PluginLink()
    : connection(Connection::connect("127.0.0.1", loopbackPort, timeoutSeconds)) {
    if (connection == nullptr)
        throw std::runtime_error("no DR server listens on this machine");
    shakeHands();
}

void PluginLink::shakeHands() {
    String greeting;
    // The server speaks first here.
    if (readMessage(*connection, greeting, timeoutSeconds) != 0 ||
        !messageHas(greeting, Tag::local, "HandshakeResponse", "ok"))
        throw std::runtime_error("the DR server does not greet");
    const DrMessage message = DrMessage::parse(greeting);
    folder = message.value("DumpFilename");
    message.readFrameInfo(info);
    const String answer = buildMessage(Tag::local, "HandshakeInit", "init");
    if (writeMessage(*connection, answer, timeoutSeconds) != 0)
        throw std::runtime_error("the DR server closed the connection");
}

bool PluginLink::isEnded(std::chrono::milliseconds longest) {
    char first = 0;
    if (connection->peek(&first, 1, longest) == 0)
        return !connection->isAlive();
    String text;
    return readMessage(*connection, text, timeoutSeconds) != 0 ||
           messageHas(text, Tag::command, Tag::commandChild, Tag::endRender);
}

}  // namespace Orvane
