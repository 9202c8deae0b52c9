#include "server/RelayWakeup.h"

namespace Orvane {

void RelayWakeup::watch(const String& folder) {
    if (startWatching(folder) || toldOfSlowness)
        return;
    toldOfSlowness = true;
    log.log("Cannot watch the data folder: images may take two seconds longer");
}

}  // namespace Orvane
