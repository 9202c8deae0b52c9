#include "app/StopOption-win32.h"

#include <cstdlib>

#include "OrvaneCore/Str.h"
#include "app/Console.h"
#include "app/StopEvents-win32.h"

namespace Orvane {

namespace {

std::optional<int> stopServers(const String& program, const String& seconds) {
    constexpr int stillAtWork = 3;
    switch (StopEvents::stopAll(std::chrono::seconds(Str::leadingInteger(toAnsi(seconds))))) {
        case StopEvents::Outcome::NoneRuns:
            return EXIT_SUCCESS;
        case StopEvents::Outcome::Forbidden:
            showAnswer(program + ": the server is another user's: ask as administrator\n",
                       Answer::Error);
            return EXIT_FAILURE;
        case StopEvents::Outcome::StillRunning:
            break;
    }
    showAnswer(program + ": the server has been asked and is still at work\n", Answer::Error);
    return stillAtWork;
}

}  // namespace

const Option stopOption = {"--stop", "SECONDS",
                           "ask every DR server of this computer to end, and wait so long",
                           stopServers};

}  // namespace Orvane
