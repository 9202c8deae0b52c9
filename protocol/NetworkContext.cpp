#include "protocol/NetworkContext.h"

namespace Orvane {

asio::io_context& networkContext() {
    static asio::io_context context;
    return context;
}

}  // namespace Orvane
