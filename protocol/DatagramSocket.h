#pragma once

#include <cstddef>
#include <memory>

#include "OrvaneCore/String.h"
#include "protocol/NativeSocket.h"

class wxDatagramSocket;
class wxIPV4address;

namespace Orvane {

/// A UDP socket on which nothing ever waits. Used by one thread at a time.
class DatagramSocket {
  public:
    /// Bound to all interfaces; port 0 lets the system choose.
    explicit DatagramSocket(unsigned short port);
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    bool isOk() const;
    /// Dotted address of this end.
    String localAddress() const;

    /// Takes one datagram, cut to `size` bytes, and remembers its sender. False when none is there;
    /// an empty one, or an error in its place, leaves the buffer as it was.
    bool receive(void* buffer, std::size_t size);
    /// Dotted address of the last datagram's sender.
    String senderAddress() const;
    /// To the last datagram's sender. The result is not known: datagrams may be lost anyway.
    void reply(const void* bytes, std::size_t size);
    /// To a name, dotted or broadcast address. False when the name does not resolve.
    bool sendTo(const String& host, unsigned short port, const void* bytes, std::size_t size);

  private:
    NativeSocket::Handle handle() const;
    void send(const wxIPV4address& to, const void* bytes, std::size_t size);

    std::unique_ptr<wxDatagramSocket> socket;
    std::unique_ptr<wxIPV4address> sender;
};

}  // namespace Orvane
