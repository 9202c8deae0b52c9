#include "protocol/Listener.h"

#include <asio/ip/tcp.hpp>
#include <thread>

#include "protocol/NetworkContext.h"
#include "protocol/SocketSetup.h"

namespace Orvane {

namespace {

using asio::ip::tcp;

constexpr std::chrono::milliseconds pauseAfterFailure{100};

tcp::endpoint endpointOf(Listener::Reach reach, unsigned short port) {
    return {reach == Listener::Reach::Loopback ? asio::ip::address_v4::loopback()
                                               : asio::ip::address_v4::any(),
            port};
}

}  // namespace

struct Listener::Native {
    explicit Native(const tcp::endpoint& endpoint) {
        const SocketHandle handle = SocketSetup::openStream();
        SocketSetup::claimPort(handle);
        acceptor.assign(tcp::v4(), static_cast<tcp::acceptor::native_handle_type>(handle), error);
        const auto step = [this](auto call) {
            if (!error)
                call();
        };
        step([&] { acceptor.bind(endpoint, error); });
        step([&] { acceptor.listen(tcp::acceptor::max_listen_connections, error); });
        // A connection may vanish between being announced and being accepted.
        step([&] { acceptor.non_blocking(true, error); });
    }

    asio::error_code error;
    tcp::acceptor acceptor{networkContext()};
};

Listener::Listener(Reach reach, unsigned short port, int timeoutSeconds)
    : native(std::make_unique<Native>(endpointOf(reach, port))),
      acceptTimeoutSeconds(timeoutSeconds) {}

Listener::~Listener() = default;

bool Listener::isOk() const {
    return !native->error;
}

std::unique_ptr<Connection> Listener::accept() {
    const std::chrono::seconds longest(acceptTimeoutSeconds);
    if (!isOk()) {
        std::this_thread::sleep_for(longest);
        return nullptr;
    }
    WaitedSocket waited{handle()};
    if (!waitForSockets({&waited, 1}, SocketClock::now() + longest))
        return nullptr;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the checker loses what is returned
    auto connection = takeWaiting();
    // A process that is out of descriptors is told of the waiting connection again and again.
    if (connection == nullptr)
        std::this_thread::sleep_for(pauseAfterFailure);
    return connection;
}

std::unique_ptr<Connection> Listener::takeWaiting() {
    const SocketHandle accepted = isOk() ? SocketSetup::accept(handle()) : noSocket;
    return accepted == noSocket ? nullptr : std::make_unique<Connection>(accepted);
}

SocketHandle Listener::handle() const {
    return static_cast<SocketHandle>(native->acceptor.native_handle());
}

}  // namespace Orvane
