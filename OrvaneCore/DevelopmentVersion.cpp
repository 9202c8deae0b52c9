#include "OrvaneCore/DevelopmentVersion.h"

#include <cstdint>

#include "OrvaneCore/Registry.h"

namespace Orvane {

namespace {

bool readSwitch() {
    constexpr std::uint32_t switchedOn = 57;
    String key = "SOFTWARE/Orvane";
    std::uint32_t number = 0;
    readRegistryNumber(key, "developmentVer", number);
    return number == switchedOn;
}

}  // namespace

bool isDevelopmentVersion() {
    static const bool development = readSwitch();
    return development;
}

}  // namespace Orvane
