#include "server/DiscoveryReplier.h"

#include <array>
#include <chrono>
#include <thread>

#include "OrvaneCore/Str.h"
#include "protocol/DatagramSocket.h"
#include "protocol/DrMessage.h"
#include "protocol/Framing.h"
#include "protocol/Ports.h"
#include "server/LineFold.h"
#include "server/WorkerStack.h"

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds pollPeriod{333};
// The only defence against lost datagrams.
constexpr int replies = 4;

const char* const pingLine = "Got discovery ping";

class PingSocket {
  public:
    bool isOk() const { return socket.isOk(); }
    String localAddress() const { return socket.localAddress(); }
    String senderAddress() const { return socket.senderAddress(); }

    /// The text of a waiting datagram up to its first zero; empty when there is none.
    String receive() {
        // One byte more than is received: the text always ends in a zero.
        std::array<char, 256> buffer{};
        if (!socket.receive(buffer.data(), buffer.size() - 1))
            return {};
        return String(buffer.data());
    }

    void reply() {
        const std::string bytes = wireBytes(buildMessage(Tag::discovery, "Reply", "ok"));
        for (int i = 0; i < replies; ++i)
            socket.reply(bytes.data(), bytes.size());
    }

  private:
    DatagramSocket socket{discoveryPort};
};

}  // namespace

bool isAnswered(const String& ping, const DrConfig& config) {
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year) {
        if (!config.hostPath(year).isEmpty() &&
            messageHas(ping, Tag::discovery, "Request", Str::toWString(year)))
            return true;
    }
    return false;
}

DiscoveryReplier::DiscoveryReplier(DrLog& target, const DrConfig& settings)
    : log(target), config(settings) {
    setup(workerStackBytes, "MY_DiscoveryReplier");
    run([](void* self) { static_cast<DiscoveryReplier*>(self)->serve(); }, this);
}

DiscoveryReplier::~DiscoveryReplier() {
    requestStop();
    waitUntilParked();
}

void DiscoveryReplier::serve() {
    PingSocket socket;
    if (!socket.isOk()) {
        log.log(String("Cannot bind to discovery port (UDP ") + Str::toWString(discoveryPort) +
                ")");
        return;
    }
    log.log(String("Starting UDP socket, local hostname: ") + socket.localAddress());
    LineFold ignoredPings(log, pingLine);
    for (; !stopRequested; ignoredPings.tick()) {
        const String ping = socket.receive();
        if (ping.isEmpty()) {
            std::this_thread::sleep_for(pollPeriod);
            continue;
        }
        if (!isAnswered(ping, config)) {
            ignoredPings.write(pingLine);
            std::this_thread::sleep_for(pollPeriod);
            continue;
        }
        log.log(pingLine);
        socket.reply();
        log.log(String("Replying to discovery ping from ") + socket.senderAddress());
    }
}

}  // namespace Orvane
