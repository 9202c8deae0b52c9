#include <cstdlib>
#include <thread>

#include "OrvaneCore/ConsoleText.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/StandardStreams.h"
#include "app/CommandLine.h"
#include "app/Console.h"
#include "app/Service.h"
#include "app/StopSignal.h"
#include "server/Startup.h"

using namespace Orvane;

namespace {

constexpr std::chrono::milliseconds flushPeriod{DrLog::flushPeriodMs};

/// The server until it is told to stop, or cannot go on by itself.
class HeadlessProgram {
  public:
    HeadlessProgram() {
        log.setCloseHandler([this] { endedByItself = true; });
        log.setWakeHandler([this] { stop.wake(); });
    }

    int run() {
        log.log("DR server started");
        DrServer server(log);
        start(server);
        while (!endedByItself && !waitForLines()) {
            log.flush();
            server.refreshState();
        }
        const int status = endedByItself ? EXIT_FAILURE : EXIT_SUCCESS;
        close(server);
        return status;
    }

  private:
    // An idle server wakes for its figures alone. Once there is a line others may follow it at
    // once, and are written with it. True when the program is to end.
    bool waitForLines() { return stop.wait(DrServer::refreshPeriod) || stop.wait(flushPeriod); }

    void start(DrServer& server) {
        try {
            openLogFile(log, server);
        } catch (const Exception&) {
            showFolderNotWritable(server);
            endedByItself = true;
            return;
        }
        logStartup(log, server);
    }

    // Workers log until the end, and a host that is waited for may take its time.
    void close(DrServer& server) {
        constexpr std::chrono::milliseconds pollPeriod{50};
        server.requestStop();
        bool busy = true;
        while (busy) {
            std::this_thread::sleep_for(pollPeriod);
            if (StopSignal::isUrgent())
                server.endHost();
            // Asked first, or what a worker logs between the two would never be written.
            busy = server.isBusy();
            log.flush();
            server.refreshState();
        }
    }

    StopSignal stop;  // before any thread is started
    DrLog log;
    bool endedByItself = false;
};

int serve() {
    const ConsoleText console;
    return HeadlessProgram().run();
}

}  // namespace

int main(int count, char** values) {
    const StandardStreams streams;
    if (const auto status =
            obeyCommandLine("dr-server-headless", headlessOptions(), typedArguments(count, values)))
        return *status;
    return runServer(serve);
}
