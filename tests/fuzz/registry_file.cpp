#include "OrvaneCore/RegistryFile.h"

#include "OrvaneCore/Str.h"
#include "input.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    String value;
    if (readRegistryFile(fileOf(bytesOf(data, size)), "SOFTWARE\\Maker", "Installdir", value)) {
        String trimmed = value;
        Str::trimWhitespace(trimmed);
        mustHold(trimmed == value && static_cast<std::size_t>(value.length()) < size);
    } else {
        mustHold(value.isEmpty());
    }
    return 0;
}
