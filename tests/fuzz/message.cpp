#include "protocol/Messages.h"

#include "input.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const String text = toWide(bytesOf(data, size));
    (void)MasterHandshake::read(text);
    (void)DiscoveryRequest::read(text);
    messageHas(text, "", "", "");
    try {
        toAnsi(DrMessage::parse(text).print());
    } catch (const MalformedMessage&) {
    }
    // What is built here is understood there. A value of nothing but blanks counts as empty, and a
    // text ends at its first zero.
    const String value = toWide(bytesOf(data, size).substr(0, bytesOf(data, size).find('\0')));
    const bool blank = toAnsi(value).find_first_not_of(" \t\r\n") == std::string::npos;
    mustHold(messageHas(buildMessage(Tag::command, Tag::commandChild, value), Tag::command,
                        Tag::commandChild, blank ? String() : value));
    return 0;
}
