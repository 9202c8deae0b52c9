#include "OrvaneCore/CommandInterpreter.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

extern char** environ;

namespace Orvane {

const std::u16string_view specialWithinQuotes = u"\"`$\\";

namespace {

/// What the child starts with: no descriptor but the standard ones, and signals as a program
/// expects them, because the server itself blocks the stop signals and ignores some.
class SpawnSettings {
  public:
    SpawnSettings() {
        constexpr int firstAfterStandardStreams = 3;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclosefrom_np(&actions, firstAfterStandardStreams);
        posix_spawnattr_init(&attributes);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes, &none);
        sigset_t restored;
        sigemptyset(&restored);
        sigaddset(&restored, SIGPIPE);
        sigaddset(&restored, SIGXFSZ);
        posix_spawnattr_setsigdefault(&attributes, &restored);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int runCommand(const String& line) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string command = toAnsi(line);
    const std::array<char*, 4> arguments = {shell.data(), option.data(), command.data(), nullptr};
    const SpawnSettings settings;
    pid_t child = 0;
    const int error = posix_spawn(&child, "/bin/sh", &settings.actions, &settings.attributes,
                                  arguments.data(), environ);
    return error == 0 ? waitFor(child) : -1;
}

}  // namespace Orvane
