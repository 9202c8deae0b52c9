#include "app/desktop/FolderOpener.h"

#include <string>

#include "OrvaneCore/CommandInterpreter.h"

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

}  // namespace

void openFolder(const String& folder) {
    runCommand("xdg-open " + fileUrl(toAnsi(folder)) + " &");
}

}  // namespace Orvane
