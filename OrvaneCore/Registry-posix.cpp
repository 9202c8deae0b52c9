#include "OrvaneCore/Registry.h"
#include "OrvaneCore/RegistryFile.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

const char* const registryFile = "/etc/orvane/registry.ini";

}  // namespace

bool readRegistryString(String& keyPath, const String& valueName, String& value) {
    Str::replaceAll(keyPath, u"/", u"\\");
    return readRegistryFile(registryFile, keyPath, valueName, value);
}

bool readRegistryNumber(String& keyPath, const String& valueName, std::uint32_t& value) {
    String text;
    if (!readRegistryString(keyPath, valueName, text))
        return false;
    value = static_cast<std::uint32_t>(Str::leadingInteger(toAnsi(text)));
    return true;
}

String registryObstacle() {
    return registryFileObstacle(registryFile);
}

}  // namespace Orvane
