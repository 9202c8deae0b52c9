#include "server/RelayWakeup.h"

#include "OrvaneCore/Str.h"
#include "protocol/Timeouts.h"

namespace Orvane {

void RelayWakeup::watch(const String& folder) {
    if (startWatching(folder) || toldOfSlowness)
        return;
    toldOfSlowness = true;
    log.log(String("Cannot watch the data folder: images may take ") +
            Str::toWString(Timeouts::endRenderPollSeconds) + " seconds longer");
}

}  // namespace Orvane
