#include "ExitStatus.h"

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
    "  12  check: no image in time\n"
    "  20  anything else\n";

}  // namespace Orvane
