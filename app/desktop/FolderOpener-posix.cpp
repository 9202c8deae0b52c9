#include "app/desktop/FolderOpener.h"

#include <sys/wait.h>

#include <array>
#include <string>

#include "OrvaneCore/SpawnSettings-posix.h"

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

/// The server's descriptors are not for a file manager, which may go on for long.
void runDetached(std::string line) {
    SpawnSettings settings;
    settings.closeAllButStandardStreams();
    std::string shell = "sh";
    std::string option = "-c";
    line += " &";
    const std::array<char*, 4> arguments = {shell.data(), option.data(), line.data(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, "/bin/sh", &settings.actions, &settings.attributes, arguments.data(),
                    environ) == 0)
        waitpid(child, nullptr, 0);
}

}  // namespace

void openFolder(const String& folder) {
    runDetached("xdg-open " + fileUrl(toAnsi(folder)));
}

}  // namespace Orvane
