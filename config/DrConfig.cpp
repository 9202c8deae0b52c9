#include "config/DrConfig.h"

#include <optional>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/MessageBox.h"
#include "OrvaneCore/Registry.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/TextFileReader.h"

namespace Orvane {

namespace {

std::size_t slotOf(std::int32_t year) {
    return static_cast<std::size_t>(year - firstHostYear);
}

constexpr std::u16string_view mastersName = u"masters";
// In a line that is not understood: a slip in the name, too, must not let everybody in.
constexpr std::u16string_view mastersHint = u"master";

String lowerCase(String text) {
    Str::toLower(text);
    return text;
}

/// The value of "Name = value". Empty if there is none.
String valueBehindEquals(const String& rest) {
    String text = rest;
    Str::trimWhitespace(text);
    if (!Str::startsWith(text, u"="))
        return {};
    text = String(text.view().substr(1));
    Str::trimWhitespace(text);
    return text;
}

/// The value of "Name = 12": decimal digits and nothing else. Nothing if it is anything else.
std::optional<std::int32_t> numberBehindEquals(const String& rest) {
    constexpr std::size_t mostDigits = 9;
    const String text = valueBehindEquals(rest);
    const std::u16string_view digits = text.view();
    const bool isNumber = !digits.empty() && digits.size() <= mostDigits &&
                          digits.find_first_not_of(u"0123456789") == digits.npos;
    return isNumber ? std::optional(Str::leadingInteger(toAnsi(text))) : std::nullopt;
}

}  // namespace

const String& DrConfig::hostPath(std::int32_t year) const {
    static const String none;
    return isHostYear(year) ? hostPaths[slotOf(year)] : none;
}

void DrConfig::detectHosts(DrLog& log) {
    const String obstacle = registryObstacle();
    if (!obstacle.isEmpty())
        log.log(String("Cannot look for installed hosts: ") + obstacle);
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year)
        findHostInstallation(year, hostPaths[slotOf(year)]);
}

void DrConfig::load(const String& path, DrLog& log) {
    detectHosts(log);
    TextFileReader reader;
    try {
        reader.open(path);
    } catch (const Exception&) {
        if (FileSystem::isRegularFile(path)) {
            // Somebody's settings, which a default must not replace.
            log.log(String("The config file cannot be read, and is left as it is: ") + path);
            masters.restrict();
            logMasters(log);
            return;
        }
        log.log("Cannot read the config file, default one will be created");
        createDefaultFile(path, log);
        return;
    }
    readFile(reader, log);
    logMasters(log);
}

void DrConfig::logMasters(DrLog& log) const {
    if (!masters.isRestricted())
        return;
    const String text = masters.text();
    log.log(text.isEmpty() ? String("No master may come: the config file does not say who")
                           : String("Masters that may come: ") + text);
}

void DrConfig::readFile(TextFileReader& reader, DrLog& log) {
    String line;
    for (std::int32_t number = 1; !reader.atEnd(); ++number) {
        reader.readLine(line);
        Str::trimWhitespace(line);
        if (line.isEmpty() || Str::startsWith(line, u"#"))
            continue;
        if (!takeLine(line)) {
            log.log("Error in the config file");
            log.log(String("Line ") + Str::toWString(number) + " is not understood: " + line);
            if (lowerCase(line).view().find(mastersHint) != std::u16string_view::npos)
                masters.restrict();
            readMastersOnly(reader);
            return;
        }
    }
}

bool DrConfig::takeLine(const String& line) {
    const std::string text = toAnsi(line);
    const std::int32_t year = Str::leadingInteger(text);
    if (isHostYear(year)) {
        // By position, however the year was written: four characters are the year.
        String folder = toWide(std::string_view(text).substr(4));
        Str::trimWhitespace(folder);
        hostPaths[slotOf(year)] = folder;
        return true;
    }
    return takeSetting(line);
}

bool DrConfig::takeSetting(const String& line) {
    struct Setting {
        std::u16string_view name;  // in lower case; written in any
        bool (DrConfig::*take)(const String& rest);
    };
    constexpr std::array settings = {Setting{u"retainexr", &DrConfig::takeRetainExr},
                                     Setting{mastersName, &DrConfig::takeMasters},
                                     Setting{u"hostpatience", &DrConfig::takeHostPatience},
                                     Setting{u"hostpriority", &DrConfig::takeHostPriority},
                                     Setting{u"logmegabytes", &DrConfig::takeLogMegabytes}};
    const String lower = lowerCase(line);
    for (const Setting& setting : settings) {
        if (Str::startsWith(lower, setting.name))
            return (this->*setting.take)(String(line.view().substr(setting.name.size())));
    }
    return false;
}

bool DrConfig::takeRetainExr(const String& rest) {
    // Whatever stands between, and in this case only.
    retainExr = Str::endsWith(rest, u"true");
    return true;
}

bool DrConfig::takeMasters(const String& rest) {
    return masters.add(valueBehindEquals(rest));
}

void DrConfig::readMastersOnly(TextFileReader& reader) {
    String line;
    while (!reader.atEnd()) {
        reader.readLine(line);
        Str::trimWhitespace(line);
        if (Str::startsWith(lowerCase(line), mastersName))
            (void)takeMasters(String(line.view().substr(mastersName.size())));
        else if (Str::startsWith(lowerCase(line), mastersHint))
            masters.restrict();
    }
}

bool DrConfig::takeHostPatience(const String& rest) {
    const std::optional<std::int32_t> seconds = numberBehindEquals(rest);
    if (!seconds)
        return false;
    hostPatience = std::chrono::seconds(*seconds);
    return true;
}

bool DrConfig::takeHostPriority(const String& rest) {
    const String value = lowerCase(valueBehindEquals(rest));
    hostHasLowPriority = value == String("low");
    return hostHasLowPriority || value == String("normal");
}

bool DrConfig::takeLogMegabytes(const String& rest) {
    constexpr std::uint64_t bytesOfMegabyte = 1000000;
    const std::optional<std::int32_t> megabytes = numberBehindEquals(rest);
    if (!megabytes)
        return false;
    mostLogBytes = static_cast<std::uint64_t>(*megabytes) * bytesOfMegabyte;
    return true;
}

void DrConfig::createDefaultFile(const String& path, DrLog& log) {
    std::int32_t found = 0;
    try {
        found = writeDefaultFile(path);
    } catch (const Exception& failure) {
        showMessageBox(errorCaption,
                       String("Fatal error: Cannot create default config file.\n\nThis probably "
                              "means that you need to run the application as administrator, or "
                              "clear some space on HDD.\n\nReason: ") +
                           failure.getMessage());
        log.closeNow();
        return;
    }
    if (found > 0)
        log.log(String("Creating default DrConfig-1.00.txt: found ") + Str::toWString(found) +
                " 3ds max versions");
    else
        log.log(
            "Warning: no 3ds max versions detected on the machine. You can add them by hand in "
            "the config.txt file. Example syntax: 2013 C:/Program Files/Autodesk/3ds max 2013");
}

std::int32_t DrConfig::writeDefaultFile(const String& path) const {
    LogFile file;
    file.open(path, false, false);
    file.write(String("RetainEXR = ") + (retainExr ? "true" : "false") + "\n");
    file.write(
        "#Here are 3dsmax versions found on this computer. Uncomment any of the line and change "
        "the path to override the path to 3dsmax.\n");
    std::int32_t found = 0;
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year) {
        if (hostPath(year).isEmpty())
            continue;
        file.write(String("#") + Str::toWString(year) + " " + hostPath(year) + "\n");
        ++found;
    }
    return found;
}

}  // namespace Orvane
