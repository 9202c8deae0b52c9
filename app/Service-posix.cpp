#include "app/Service.h"

namespace Orvane {

std::span<const Option> headlessOptions() {
    return {};
}

int runServer(int (*server)()) {
    return server();
}

}  // namespace Orvane
