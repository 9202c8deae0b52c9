#include "input.h"
#include "protocol/Messages.h"
#include "server/LaunchCommand.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FrameInfo info;
    try {
        if (!readFrameInfo(DrMessage::parse(toWide(bytesOf(data, size))), info))
            mustHold(info.hostVersion.isEmpty() && info.frameName.isEmpty());
    } catch (const MalformedMessage&) {
    }
    if (!refusalOf(info).isEmpty())
        return 0;
    // What is let through leaves the quotes of the command line as they were.
    DrConfig config;
    const std::string line = toAnsi(launchCommand("/host", "/scene", config, info));
    const auto quotes = std::count(line.begin(), line.end(), '"');
    mustHold(quotes == (info.cameraName.isEmpty() ? 8 : 10));
    mustHold(line.find_first_of("`$\\\n\r") == line.npos);
    return 0;
}
