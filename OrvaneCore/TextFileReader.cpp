#include "OrvaneCore/TextFileReader.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

/// Some editors put it before a text in UTF-8; the first line begins behind it.
void skipByteOrderMark(std::FILE* stream) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    std::array<char, mark.size()> first{};
    if (std::fread(first.data(), 1, first.size(), stream) != first.size() ||
        std::string_view(first.data(), first.size()) != mark)
        std::rewind(stream);
}

/// What fgets has put into the chunk, which held no zero before.
std::string textIn(const std::array<char, 1024>& chunk) {
    const auto end = std::find(chunk.rbegin(), chunk.rend(), '\0');
    std::string text(chunk.begin(), end == chunk.rend() ? chunk.end() : std::prev(end.base()));
    // Some programs append UTF-16 to a file, whatever it holds.
    std::erase(text, '\0');
    return text;
}

}  // namespace

void TextFileReader::open(const String& path) {
    close();
    stream = FileSystem::openFile(path, "r", FileSystem::Sharing::DenyWriters);
    if (stream == nullptr)
        throw fileException(path);
    skipByteOrderMark(stream);
}

void TextFileReader::readLine(String& line) {
    line.truncate(0);
    chunk.fill('\n');
    while (std::fgets(chunk.data(), static_cast<int>(chunk.size()), stream) != nullptr) {
        line.appendNarrow(textIn(chunk));
        chunk.fill('\n');
        if (Str::endsWith(line, u"\n")) {
            line.truncate(line.length() - 1);
            return;
        }
    }
}

bool TextFileReader::atEnd() const {
    return std::feof(stream) != 0 || std::ferror(stream) != 0;
}

void TextFileReader::close() {
    if (stream != nullptr)
        std::fclose(stream);
    stream = nullptr;
}

}  // namespace Orvane
