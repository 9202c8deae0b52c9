#pragma once

#include <stdexcept>
#include <string>

namespace Orvane {

/// What the program tells scripts. Never renumbered.
enum class ExitStatus : int {
    Success = 0,
    NobodyAnswers = 1,     // no discovery reply, or none for the version asked for
    WrongUsage = 2,        // the command line
    Unreachable = 3,       // no such name, or no connection to the master port
    Busy = 4,              // connected, but the handshake is not answered in time
    Refused = 5,           // the handshake is answered wrongly or not at all
    ConnectionLost = 6,    // the server went before it was told to end
    ShortFile = 7,         // the connection ended within an image
    DamagedImage = 8,      // an image is not a whole OpenEXR file, or does not match the others
    UnwritableFolder = 9,  // also a disk that is full
    NoImages = 10,         // the job ended in order, but without any image
    UnreadableScene = 11,
    NoFirstImage = 12,  // the job brought no image in time
    Interrupted = 13,   // by Ctrl-C; what came until then is kept
    FolderInUse = 14,   // another render writes into the output folder
    NoNodeLeft = 15,    // no node of several took part for as long as was to be waited
    FramesFailed = 16,  // some frames of an animation
    Unexpected = 20
};

/// The list of them that --help shows.
extern const char* const exitStatusHelp;

/// Text of others, a peer or a file, in which nothing can steer a terminal.
std::string printable(std::string text);

/// Ends a command: what is wrong, what to do about it (possibly nothing), and the status.
class Failure : public std::runtime_error {
  public:
    Failure(ExitStatus exitStatus, const std::string& what, std::string whatToDo = {})
        : std::runtime_error(what), status(exitStatus), remedy(std::move(whatToDo)) {}

    ExitStatus status;
    std::string remedy;
};

}  // namespace Orvane
