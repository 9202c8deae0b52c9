#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>

#include "OrvaneCore/String.h"
#include "protocol/SocketWait.h"

namespace Orvane {

/// One TCP stream whose reads and writes move all bytes or give up at a time-out. Used by one
/// thread at a time.
class Connection {
  public:
    using Clock = SocketClock;

    /// Takes ownership of a connected socket.
    explicit Connection(SocketHandle connected);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Connects to a name or dotted address within `timeoutSeconds`, besides what the system takes
    /// to look the name up; null when that fails.
    [[nodiscard]] static std::unique_ptr<Connection> connect(const String& host,
                                                             unsigned short port,
                                                             int timeoutSeconds);

    /// False once this side closed it, or a read or write met the peer's end or an error.
    bool isAlive() const { return open; }
    /// True once it ended by an error instead of either side's close.
    bool isBroken() const { return broken; }

    /// Seconds that each following read or write may take in all.
    void setTimeout(int seconds) { timeoutSeconds = seconds; }

    /// Both answer how many bytes moved; fewer than asked for after the time-out, the peer's end or
    /// an error. Only the latter two end the connection.
    [[nodiscard]] std::size_t read(void* buffer, std::size_t size);
    std::size_t write(const void* bytes, std::size_t size);
    /// The same for bytes that others follow at once: they may leave with those.
    std::size_t writeHead(const void* bytes, std::size_t size);

    /// When a read or write that begins now would give up.
    Clock::time_point nextDeadline() const {
        return Clock::now() + std::chrono::seconds(timeoutSeconds);
    }
    /// Answers with the first bytes that come; 0 after the deadline, the peer's end or an error.
    [[nodiscard]] std::size_t readSome(void* buffer, std::size_t size, Clock::time_point deadline);
    /// Answers as soon as some bytes went; 0 after the deadline, the peer's end or an error.
    [[nodiscard]] std::size_t writeSome(const void* bytes, std::size_t size,
                                        Clock::time_point deadline);
    /// The same with the next bytes of an unbuffered file, moved by the system itself. 0, and the
    /// connection as it was, where it cannot or something is wrong: reading from where the file
    /// then stands and writing goes on, or tells what it is.
    [[nodiscard]] std::size_t sendSome(std::FILE* file, std::size_t most,
                                       Clock::time_point deadline);

    /// Waits up to `longest` for input and shows it without taking it; 0 when there is none.
    [[nodiscard]] std::size_t peek(void* buffer, std::size_t size,
                                   std::chrono::milliseconds longest);
    /// Throws away what has arrived, so that an end behind it is noticed.
    void discardInput();

    /// While this is on, a close, and the end of the process too, resets the connection: the peer's
    /// next write to it fails.
    void resetOnClose(bool on);
    /// Closes at once; unread input then resets the connection.
    void close();
    /// Ends the sending direction, reads away what still comes until the peer closes or `longest`
    /// is over, then closes: what was sent last reaches the peer.
    void closeAfterDelivery(std::chrono::milliseconds longest);

    /// The peer's dotted address.
    const String& peerAddress() const { return peer; }
    /// For waits; noSocket once it is closed.
    SocketHandle handle() const;

  private:
    struct Native;
    explicit Connection(std::unique_ptr<Native> connected);
    std::size_t writeAll(const void* bytes, std::size_t size, int flags);
    std::size_t send(const void* bytes, std::size_t size, int flags, Clock::time_point deadline);
    std::size_t receive(void* buffer, std::size_t size, int flags, Clock::time_point deadline);
    void end(bool byError);

    std::unique_ptr<Native> native;  // null once it is closed
    bool open = true;
    bool broken = false;
    int timeoutSeconds = 5;
    String peer;
};

}  // namespace Orvane
