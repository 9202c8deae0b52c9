#include "OrvaneCore/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace Orvane {

StandardStreams::StandardStreams() {
    // The lowest free number is taken; inherited by children, as standard streams are.
    int opened = 0;
    do {
        opened = open("/dev/null", O_RDWR);
    } while (opened >= STDIN_FILENO && opened <= STDERR_FILENO);
    close(opened);
}

}  // namespace Orvane
