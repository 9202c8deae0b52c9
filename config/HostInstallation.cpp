#include "config/HostInstallation.h"

#include <array>

#include "OrvaneCore/Registry.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

// The host's installer writes to the version's key itself or to one key per language: English,
// French, German, Japanese, Korean, simplified Chinese.
constexpr std::array languageSuffixes = {"",           "/MAX-1:409", "/MAX-1:40C", "/MAX-1:407",
                                         "/MAX-1:411", "/MAX-1:412", "/MAX-1:804"};

// The plain product goes before the design edition of the same language.
constexpr std::array productKeys = {"SOFTWARE/Autodesk/3dsMax/", "SOFTWARE/Autodesk/3dsMaxDesign/"};

String registryVersion(std::int32_t year) {
    constexpr std::int32_t yearOfVersionZero = 1998;
    return Str::toWString(year - yearOfVersionZero) + ".0";
}

bool readInstallFolder(const String& version, String& folder) {
    for (const char* suffix : languageSuffixes) {
        for (const char* product : productKeys) {
            String key = String(product) + version + suffix;
            if (readRegistryString(key, "Installdir", folder))
                return true;
        }
    }
    return false;
}

}  // namespace

bool findHostInstallation(std::int32_t year, String& folder) {
    if (!readInstallFolder(registryVersion(year), folder))
        return false;
    Str::replaceAll(folder, u"\\", u"/");
    return true;
}

}  // namespace Orvane
