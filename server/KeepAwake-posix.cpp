#include "server/KeepAwake.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <array>
#include <string>

#include "OrvaneCore/SpawnSettings-posix.h"

extern char** environ;

namespace Orvane {

// The login manager's own program asks, and holds on as long as "cat" reads: until our end of the
// pipe is closed, by whatever end of the server. A system service may only ask about idleness.
const char* const question =
    "hold() { systemd-inhibit --what=$1 --who='Orvane DR server' --why=Rendering --mode=block cat; "
    "}\n"
    "hold idle:sleep || hold idle";

struct KeepAwake::Native {
    pid_t holder = -1;
    int pipeEnd = -1;

    void start() {
        std::array<int, 2> pipe = {-1, -1};
        if (pipe2(pipe.data(), O_CLOEXEC) != 0)
            return;
        pipeEnd = pipe[1];
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        SpawnSettings settings(POSIX_SPAWN_SETSID);
        settings.giveStream(pipe[0], STDIN_FILENO);
        settings.giveStream(null, STDOUT_FILENO);
        settings.giveStream(null, STDERR_FILENO);
        settings.closeAllButStandardStreams();
        std::string shell = "sh";
        std::string option = "-c";
        std::string script = question;
        const std::array<char*, 4> arguments = {shell.data(), option.data(), script.data(),
                                                nullptr};
        if (posix_spawn(&holder, "/bin/sh", &settings.actions, &settings.attributes,
                        arguments.data(), environ) != 0)
            holder = -1;
        close(null);
        close(pipe[0]);
    }

    void stop() const {
        if (pipeEnd >= 0)
            close(pipeEnd);
        if (holder < 0)
            return;
        // One of them may be waiting for a login manager that does not answer.
        kill(-holder, SIGKILL);
        waitpid(holder, nullptr, 0);
    }
};

KeepAwake::KeepAwake() : native(new Native) {
    native->start();
}

KeepAwake::~KeepAwake() {
    native->stop();
}

}  // namespace Orvane
