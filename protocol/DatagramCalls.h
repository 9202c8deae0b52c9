#pragma once

#include <asio/ip/udp.hpp>

namespace Orvane {

/// The calls of the networking library that a DatagramSocket makes, so that a test can answer in
/// its place: some errors come from certain systems only.
class DatagramCalls {
  public:
    using Endpoint = asio::ip::udp::endpoint;

    virtual ~DatagramCalls() = default;
    virtual bool isBound() const = 0;
    virtual Endpoint localEndpoint() const = 0;
    virtual std::size_t receiveFrom(asio::mutable_buffer buffer, Endpoint& sender,
                                    asio::error_code& error) = 0;
    virtual void sendTo(asio::const_buffer bytes, const Endpoint& receiver) = 0;
};

}  // namespace Orvane
