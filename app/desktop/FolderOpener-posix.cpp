#include "app/desktop/FolderOpener.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

extern char** environ;

namespace Orvane {

namespace {

bool isPlain(char byte) {
    constexpr std::string_view marks = "/-._~";
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || marks.find(byte) != marks.npos;
}

/// The path's bytes, whatever their encoding; nothing in the result is special to a shell.
std::string fileUrl(const std::string& path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char byte : path) {
        if (isPlain(byte)) {
            url += byte;
            continue;
        }
        const auto code = static_cast<unsigned char>(byte);
        url += {'%', digits[code >> 4U], digits[code & 0xFU]};
    }
    return url;
}

/// The server's descriptors and signal settings are not for a file manager, which may go on for
/// long.
void runDetached(std::string line) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string shell = "sh";
    std::string option = "-c";
    line += " &";
    const std::array<char*, 4> arguments = {shell.data(), option.data(), line.data(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ) == 0)
        waitpid(child, nullptr, 0);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

void openFolder(const String& folder) {
    runDetached("xdg-open " + fileUrl(toAnsi(folder)));
}

}  // namespace Orvane
