#include "OrvaneCore/RegistryFile.h"

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/TextFileReader.h"

namespace Orvane {

namespace {

String comparable(std::u16string_view name) {
    String text(name);
    Str::trimWhitespace(text);
    Str::toLower(text);
    Str::replaceAll(text, u"\\", u"/");
    return text;
}

bool isComment(const String& line) {
    return line.isEmpty() || Str::startsWith(line, u"#") || Str::startsWith(line, u";");
}

bool isGroup(const String& line) {
    return Str::startsWith(line, u"[") && Str::endsWith(line, u"]");
}

}  // namespace

bool readRegistryFile(const String& path, const String& keyPath, const String& valueName,
                      String& value) {
    TextFileReader reader;
    try {
        reader.open(path);
    } catch (const Exception&) {
        return false;
    }
    const String wantedKey = comparable(keyPath.view());
    const String wantedName = comparable(valueName.view());
    bool inKey = false;
    String line;
    while (!reader.atEnd()) {
        reader.readLine(line);
        Str::trimWhitespace(line);
        if (isComment(line))
            continue;
        const std::u16string_view text = line.view();
        if (isGroup(line)) {
            inKey = comparable(text.substr(1, text.size() - 2)) == wantedKey;
            continue;
        }
        const std::size_t equals = text.find(u'=');
        if (!inKey || equals == text.npos || !(comparable(text.substr(0, equals)) == wantedName))
            continue;
        value = String(text.substr(equals + 1));
        Str::trimWhitespace(value);
        return true;
    }
    return false;
}

String registryFileObstacle(const String& path) {
    TextFileReader reader;
    try {
        reader.open(path);
    } catch (const Exception& failure) {
        if (FileSystem::exists(path))
            return failure.getMessage();
    }
    return {};
}

}  // namespace Orvane
