#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Bench {

/// An owned file descriptor. Failures throw std::system_error, here and in everything below.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int opened) : descriptor(opened) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : descriptor(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;

    int get() const { return descriptor; }
    int release();
    void close();

  private:
    int descriptor = -1;
};

/// `result` unless it is negative.
int checked(int result, const char* what);

Descriptor listenOn(unsigned short port);
Descriptor acceptFrom(const Descriptor& listener);
/// To the loopback address.
Descriptor connectTo(unsigned short port);
/// False when nobody listens.
bool isListening(unsigned short port);

void sendAll(const Descriptor& socket, std::string_view bytes);
/// Takes exactly `size` bytes; throws at an early end.
void receiveAll(const Descriptor& socket, void* buffer, std::size_t size);
/// Takes `size` bytes and forgets them.
void receiveAway(const Descriptor& socket, std::size_t size);
/// Up to and without the next zero byte; what came before the end if there is none.
std::string receiveMessage(const Descriptor& socket);
/// Waits for the peer to end its direction.
void awaitEnd(const Descriptor& socket);

}  // namespace Bench
