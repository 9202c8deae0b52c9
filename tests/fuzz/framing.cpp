#include "protocol/Framing.h"
#include "stream.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = bytesOf(data, size);
    const auto connection = streamOf(rest);
    ReceivedMessage message;
    const String& text = message.text;
    while ((message = readMessage(*connection, 5)).isWhole()) {
        const std::size_t zero = rest.find('\0');
        mustHold(toAnsi(text) == rest.substr(0, zero) && text.length() <= mostMessageBytes);
        mustHold(wireBytes(text) == rest.substr(0, zero + 1));
        rest.remove_prefix(zero + 1);
    }
    mustHold(!connection->isAlive());
    mustHold(rest.find('\0') == rest.npos || text.length() > mostMessageBytes);
    mustHold(rest.starts_with(toAnsi(text)));
    return 0;
}
