#pragma once

#include <cstddef>
#include <cstdio>

#include "protocol/SocketWait.h"

namespace Orvane {

struct DirectSend {
    std::size_t bytes = 0;  ///< 0 also at the file's end, at any fault and where nothing can be had
    bool wouldBlock = false;  ///< the socket takes nothing now
};

/// Lets the system move up to `most` bytes into a socket that does not block, from where an
/// unbuffered file stands, which is then moved on. The bytes do not pass through this process.
/// Neither throws nor raises a signal.
DirectSend sendDirectly(SocketHandle socket, std::FILE* file, std::size_t most);

}  // namespace Orvane
