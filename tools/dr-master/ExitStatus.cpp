#include "ExitStatus.h"

#include <algorithm>

namespace Orvane {

const char* const exitStatusHelp =
    "Exit status:\n"
    "  0   all went well\n"
    "  1   nobody answers discovery for the host version asked for\n"
    "  2   the command line is wrong\n"
    "  3   the server's name or its TCP port cannot be reached\n"
    "  4   the server is busy with another master\n"
    "  5   the server refused the handshake\n"
    "  6   the connection was lost, or the job ended before all was received\n"
    "  7   the connection ended within an image\n"
    "  8   an image is not a whole OpenEXR file, or does not match the others\n"
    "  9   a file or folder cannot be written\n"
    "  10  the job ended without an image\n"
    "  11  the scene cannot be read\n"
    "  12  no image in time\n"
    "  13  ended by Ctrl-C; what came until then is kept\n"
    "  14  another render writes into the output folder\n"
    "  15  no node was left to render\n"
    "  16  some frames of the animation failed\n"
    "  20  anything else\n";

std::string printable(std::string text) {
    constexpr char firstPrintable = ' ', deleteCharacter = 0x7F;
    // Bytes of 0x80 and more are letters, but for the control characters that some of them are
    // where each byte is a character.
    const auto steers = [](char c) {
        return (c >= 0 && c < firstPrintable) || c == deleteCharacter;
    };
    std::replace_if(text.begin(), text.end(), steers, '?');
    return text;
}

}  // namespace Orvane
