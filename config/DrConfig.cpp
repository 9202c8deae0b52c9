#include "config/DrConfig.h"

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/MessageBox.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/TextFileReader.h"

namespace Orvane {

namespace {

std::size_t slotOf(std::int32_t year) {
    return static_cast<std::size_t>(year - firstHostYear);
}

constexpr std::u16string_view mastersName = u"masters";

String lowerCase(String text) {
    Str::toLower(text);
    return text;
}

}  // namespace

const String& DrConfig::hostPath(std::int32_t year) const {
    static const String none;
    return isHostYear(year) ? hostPaths[slotOf(year)] : none;
}

void DrConfig::detectHosts() {
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year)
        findHostInstallation(year, hostPaths[slotOf(year)]);
}

void DrConfig::load(const String& path, DrLog& log) {
    detectHosts();
    TextFileReader reader;
    try {
        reader.open(path);
    } catch (const Exception&) {
        log.log("Cannot read the config file, default one will be created");
        createDefaultFile(path, log);
        return;
    }
    readFile(reader, log);
    if (masters.isRestricted())
        log.log(masters.text().isEmpty()
                    ? String("No master may come: the configuration file names none")
                    : String("Masters that may come: ") + masters.text());
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
            // A line that was to name masters must not leave the door open to all.
            if (lowerCase(line).view().find(mastersName) != std::u16string_view::npos)
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
                                     Setting{mastersName, &DrConfig::takeMasters}};
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
    String entries = rest;
    Str::trimWhitespace(entries);
    const bool isSetting = Str::startsWith(entries, u"=");
    return masters.add(isSetting ? String(entries.view().substr(1)) : String()) && isSetting;
}

void DrConfig::readMastersOnly(TextFileReader& reader) {
    String line;
    while (!reader.atEnd()) {
        reader.readLine(line);
        Str::trimWhitespace(line);
        if (Str::startsWith(lowerCase(line), mastersName))
            (void)takeMasters(String(line.view().substr(mastersName.size())));
    }
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
