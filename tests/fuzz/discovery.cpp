#include "server/DiscoveryReplier.h"

#include "input.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static DrLog log;
    static DrConfig* const config = [] {
        auto* const made = new DrConfig;
        made->load(fileOf("2014 /host\n"), log);
        return made;
    }();
    const std::string text(bytesOf(data, size).substr(0, 255));
    if (isAnswered(String(text.c_str()), *config))
        mustHold(text.find("<OrvaneDrDiscovery") != text.npos &&
                 text.find("<Request") != text.npos);
    return 0;
}
