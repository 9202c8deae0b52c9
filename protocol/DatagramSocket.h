#pragma once

#include <cstddef>
#include <memory>

#include "OrvaneCore/String.h"

namespace Orvane {

class DatagramCalls;

/// A UDP socket on which nothing ever waits. Used by one thread at a time.
class DatagramSocket {
  public:
    /// Bound to all interfaces; port 0 lets the system choose.
    explicit DatagramSocket(unsigned short port);
    /// Bound to one dotted address of this machine, which others then see as the sender.
    DatagramSocket(unsigned short port, const String& address);
    /// With calls of another's making, for what systems answer only now and then.
    explicit DatagramSocket(std::unique_ptr<DatagramCalls> systemCalls);
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    bool isOk() const;
    /// Dotted address of this end.
    String localAddress() const;

    enum class Arrival {
        Nothing,   ///< none is there
        Datagram,  ///< one was taken, cut to the buffer's size; it may be empty
        Error      ///< something stood in one's place and has been taken away; others may follow
    };
    /// Takes one datagram and its sender. Leaves the buffer as it was if there is none, and then
    /// nobody is the sender.
    [[nodiscard]] Arrival receive(void* buffer, std::size_t size);
    /// Dotted address of the last receive's sender; empty without one.
    String senderAddress() const;
    /// To the last receive's sender, if there is one. The result is not known: datagrams may be
    /// lost anyway.
    void reply(const void* bytes, std::size_t size);
    /// To a name, dotted or broadcast address. False when the name does not resolve.
    [[nodiscard]] bool sendTo(const String& host, unsigned short port, const void* bytes,
                              std::size_t size);

  private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace Orvane
