#include "config/DrConfig.h"

#include "OrvaneCore/Str.h"
#include "input.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    DrLog log;
    DrConfig config;
    config.load(fileOf(bytesOf(data, size)), log);
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year) {
        String trimmed = config.hostPath(year);
        Str::trimWhitespace(trimmed);
        mustHold(trimmed == config.hostPath(year) && trimmed.find(u"\n") == String::notFound);
    }
    return 0;
}
