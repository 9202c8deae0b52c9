#include "protocol/DatagramSocket.h"

#include <optional>

#include "protocol/DatagramCalls.h"
#include "protocol/NetworkContext.h"
#include "protocol/Resolve.h"
#include "protocol/SocketSetup.h"

namespace Orvane {

namespace {

using asio::ip::udp;

class SystemCalls : public DatagramCalls {
  public:
    explicit SystemCalls(const Endpoint& local) {
        const SocketHandle handle = SocketSetup::openDatagram();
        SocketSetup::ignoreAbsentPeers(handle);
        asio::error_code error;
        socket.assign(udp::v4(), static_cast<udp::socket::native_handle_type>(handle), error);
        if (error)
            return;
        socket.set_option(udp::socket::broadcast(true), error);
        socket.non_blocking(true, error);
        socket.bind(local, error);
        bound = !error;
    }

    bool isBound() const override { return bound; }
    Endpoint localEndpoint() const override {
        asio::error_code error;
        return socket.local_endpoint(error);
    }
    std::size_t receiveFrom(asio::mutable_buffer buffer, Endpoint& sender,
                            asio::error_code& error) override {
        return socket.receive_from(buffer, sender, 0, error);
    }
    void sendTo(asio::const_buffer bytes, const Endpoint& receiver) override {
        asio::error_code ignored;
        socket.send_to(bytes, receiver, 0, ignored);
    }

  private:
    udp::socket socket{networkContext()};
    bool bound = false;
};

}  // namespace

struct DatagramSocket::State {
    std::unique_ptr<DatagramCalls> calls;
    std::optional<DatagramCalls::Endpoint> sender;
};

DatagramSocket::DatagramSocket(unsigned short port)
    : DatagramSocket(std::make_unique<SystemCalls>(udp::endpoint(udp::v4(), port))) {}

DatagramSocket::DatagramSocket(unsigned short port, const String& address)
    : DatagramSocket(std::make_unique<SystemCalls>(
          udp::endpoint(asio::ip::make_address_v4(toAnsi(address)), port))) {}

DatagramSocket::DatagramSocket(std::unique_ptr<DatagramCalls> systemCalls)
    : state(new State{std::move(systemCalls), std::nullopt}) {}

DatagramSocket::~DatagramSocket() = default;

bool DatagramSocket::isOk() const {
    return state->calls->isBound();
}

String DatagramSocket::localAddress() const {
    return String(state->calls->localEndpoint().address().to_string());
}

DatagramSocket::Arrival DatagramSocket::receive(void* buffer, std::size_t size) {
    asio::error_code error;
    DatagramCalls::Endpoint from;
    state->sender.reset();
    state->calls->receiveFrom(asio::buffer(buffer, size), from, error);
    if (error == asio::error::would_block || error == asio::error::try_again)
        return Arrival::Nothing;
    // Some systems say of one that was cut that it is too long; it is there all the same.
    if (error && error != asio::error::message_size)
        return Arrival::Error;
    state->sender = from;
    return Arrival::Datagram;
}

String DatagramSocket::senderAddress() const {
    return state->sender ? String(state->sender->address().to_string()) : String();
}

void DatagramSocket::reply(const void* bytes, std::size_t size) {
    if (state->sender)
        state->calls->sendTo(asio::buffer(bytes, size), *state->sender);
}

bool DatagramSocket::sendTo(const String& host, unsigned short port, const void* bytes,
                            std::size_t size) {
    const auto address = resolve(host);
    if (!address)
        return false;
    state->calls->sendTo(asio::buffer(bytes, size),
                         {asio::ip::make_address(toAnsi(*address)), port});
    return true;
}

}  // namespace Orvane
