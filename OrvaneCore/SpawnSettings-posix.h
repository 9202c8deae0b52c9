#pragma once

#include <spawn.h>
#include <unistd.h>

#include <csignal>

namespace Orvane {

/// How other programs are started: with signals as a program expects them, because the server
/// itself blocks the stop signals and ignores some. Made and used without a lock or an allocation
/// once the file actions are complete.
class SpawnSettings {
  public:
    explicit SpawnSettings(short flags = 0) {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK |
                                                                 POSIX_SPAWN_SETSIGDEF | flags));
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    void giveStream(int descriptor, int standardStream) {
        posix_spawn_file_actions_adddup2(&actions, descriptor, standardStream);
    }
    void closeAllButStandardStreams() {
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

}  // namespace Orvane
