#include "server/HostOutput.h"

#include <cstdio>
#include <sstream>

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/WholeFile.h"
#include "server/LaunchCommand.h"
#include "server/StrangersText.h"

namespace Orvane {

namespace {

// What comes last tells most about an end.
constexpr std::size_t mostKeptBytes = 1048576;

bool canAppend(const String& path) {
    std::FILE* const file = FileSystem::openFile(path, "ab", FileSystem::Sharing::All);
    return file != nullptr && std::fclose(file) == 0;
}

}  // namespace

String hostOutputPath(const String& dataFolder, DrLog& log) {
    constexpr std::int32_t lastNumber = 9;
    String usual = dataFolder + "/MaxLog.txt";
    if (canAppend(usual))
        return usual;
    for (std::int32_t number = 2; number <= lastNumber; ++number) {
        String other = dataFolder + "/MaxLog-" + Str::toWString(number) + ".txt";
        if (!canAppend(other))
            continue;
        log.log(String("Cannot write ") + usual + "; 3ds max writes into " + other);
        return other;
    }
    return usual;
}

std::vector<String> lastLines(const String& path, std::int64_t from) {
    constexpr std::size_t mostLines = 20;
    constexpr std::size_t mostCharacters = 500;
    std::string bytes = WholeFile::readEnd(path, from, 65536);
    // A host may write 16-bit text, or an end of line that is none elsewhere.
    std::erase_if(bytes, [](char byte) { return byte == '\0' || byte == '\r'; });
    std::vector<String> lines;
    std::istringstream stream(bytes);
    for (std::string line; std::getline(stream, line);)
        if (line.find_first_not_of(" \t") != line.npos)
            lines.push_back(shownInLog(line.substr(0, mostCharacters)));
    if (lines.size() > mostLines)
        lines.erase(lines.begin(), lines.end() - mostLines);
    return lines;
}

void HostOutput::take(std::string_view bytes) {
    kept += bytes;
    if (kept.size() > 2 * mostKeptBytes)
        kept.erase(0, kept.size() - mostKeptBytes);
}

void HostOutput::write() {
    dropEcho();
    if (kept.empty())
        return;
    std::FILE* const file = FileSystem::openFile(path, "ab", FileSystem::Sharing::All);
    if (file == nullptr)
        return;
    std::fwrite(kept.data(), 1, kept.size(), file);
    std::fclose(file);
}

void HostOutput::dropEcho() {
    if (kept.starts_with(launchEcho))
        kept.erase(0, kept.find('\n') + 1);
}

}  // namespace Orvane
