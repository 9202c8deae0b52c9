// The two ends of a file transfer as a Windows program, each alone with nothing but memory at the
// other side, beside the same end as a bare Winsock loop of 64 KiB calls.
#include <winsock2.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Figures.h"
#include "bench/Ports.h"
#include "protocol/FileTransfer.h"
#include "protocol/Listener.h"

using namespace Bench;

namespace {

constexpr const char* sourceFile = "source.bin";
constexpr const char* targetFile = "target.bin";
constexpr DWORD loopBytes = 0x10000;

using Work = std::function<void(Orvane::Connection&)>;

SOCKET blocking(const Orvane::Connection& connection) {
    const auto socket = static_cast<SOCKET>(connection.handle());
    u_long nonBlocking = 0;
    ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking);
    return socket;
}

void sendAll(SOCKET socket, const char* bytes, DWORD size) {
    while (size > 0) {
        const int sent = send(socket, bytes, static_cast<int>(size), 0);
        if (sent <= 0)
            throw std::runtime_error("send failed");
        bytes += sent;
        size -= static_cast<DWORD>(sent);
    }
}

DWORD receiveSome(SOCKET socket, char* bytes, std::int64_t size, DWORD atOnce = loopBytes) {
    const auto most = static_cast<int>(std::min<std::int64_t>(size, atOnce));
    const int got = recv(socket, bytes, most, 0);
    if (got <= 0)
        throw std::runtime_error("recv failed");
    return static_cast<DWORD>(got);
}

std::int64_t receiveSize(SOCKET socket) {
    std::int64_t size = 0;
    for (DWORD done = 0; done < sizeof(size);)
        done += receiveSome(socket, reinterpret_cast<char*>(&size) + done,
                            static_cast<std::int64_t>(sizeof(size) - done));
    return size;
}

class File {
  public:
    File(const char* path, DWORD access, DWORD disposition)
        : handle(
              CreateFileA(path, access, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr)) {
        if (handle == INVALID_HANDLE_VALUE)
            throw std::runtime_error("a file cannot be opened");
    }
    ~File() { CloseHandle(handle); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::int64_t size() const {
        LARGE_INTEGER bytes{};
        GetFileSizeEx(handle, &bytes);
        return bytes.QuadPart;
    }
    DWORD read(std::vector<char>& bytes) const {
        DWORD got = 0;
        ReadFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
        return got;
    }
    void write(const char* bytes, DWORD size) const {
        DWORD written = 0;
        if (WriteFile(handle, bytes, size, &written, nullptr) == 0 || written != size)
            throw std::runtime_error("a file cannot be written");
    }

  private:
    HANDLE handle;
};

void bareSend(Orvane::Connection& connection) {
    const SOCKET socket = blocking(connection);
    const File file(sourceFile, GENERIC_READ, OPEN_EXISTING);
    const std::int64_t size = file.size();
    sendAll(socket, reinterpret_cast<const char*>(&size), sizeof(size));
    std::vector<char> chunk(loopBytes);
    while (const DWORD got = file.read(chunk))
        sendAll(socket, chunk.data(), got);
}

void bareReceive(Orvane::Connection& connection) {
    const SOCKET socket = blocking(connection);
    const File file(targetFile, GENERIC_WRITE, CREATE_ALWAYS);
    std::vector<char> chunk(loopBytes);
    for (std::int64_t left = receiveSize(socket); left > 0;) {
        const DWORD got = receiveSome(socket, chunk.data(), left);
        file.write(chunk.data(), got);
        left -= got;
    }
}

void sendFromMemory(Orvane::Connection& connection, std::int64_t size) {
    const SOCKET socket = blocking(connection);
    sendAll(socket, reinterpret_cast<const char*>(&size), sizeof(size));
    const std::vector<char> block(loopBytes, 'm');
    for (; size > 0; size -= loopBytes)
        sendAll(socket, block.data(), loopBytes);
}

/// In large pieces, so that the sender is the slower end.
void drop(Orvane::Connection& connection) {
    constexpr DWORD atOnce = 16 * loopBytes;
    const SOCKET socket = blocking(connection);
    std::vector<char> piece(atOnce);
    for (std::int64_t left = receiveSize(socket); left > 0;)
        left -= receiveSome(socket, piece.data(), left, atOnce);
}

void ourSend(Orvane::Connection& connection) {
    if (sendFile(connection, sourceFile) != 0)
        throw std::runtime_error("sendFile failed");
}

void ourReceive(Orvane::Connection& connection) {
    if (receiveFile(connection, targetFile) != 0)
        throw std::runtime_error("receiveFile failed");
}

double bytesPerSecond(std::int64_t bytes, const Work& sending, const Work& receiving) {
    std::remove(targetFile);
    Orvane::Listener listener(Orvane::Listener::Reach::Loopback, transferPort, 5);
    const auto sender = Orvane::Connection::connect("127.0.0.1", transferPort, 5);
    const auto receiver = listener.accept();
    if (sender == nullptr || receiver == nullptr)
        throw std::runtime_error("no connection");
    const auto start = Clock::now();
    std::thread thread([&] { receiving(*receiver); });
    sending(*sender);
    thread.join();
    return static_cast<double>(bytes) / secondsSince(start);
}

void printRow(const std::string& what, const Pairs& pairs) {
    constexpr double goal = 0.95;
    print({what, rate(pairs.figure()), rate(pairs.reference()) + " bare Winsock loop",
           number(pairs.ratio()), ">= " + number(goal), pairs.ratio() >= goal});
}

void compare(std::int64_t megabytes, int rounds) {
    const std::int64_t bytes = megabytes << 20;
    const Work fromMemory = [bytes](Orvane::Connection& to) { sendFromMemory(to, bytes); };
    {
        const File source(sourceFile, GENERIC_WRITE, CREATE_ALWAYS);
        const std::vector<char> block(1 << 20, 's');
        for (std::int64_t i = 0; i < megabytes; ++i)
            source.write(block.data(), static_cast<DWORD>(block.size()));
    }
    Pairs sending;
    Pairs receiving;
    for (int i = 0; i < rounds; ++i) {
        sending.add(bytesPerSecond(bytes, ourSend, drop), bytesPerSecond(bytes, bareSend, drop));
        receiving.add(bytesPerSecond(bytes, fromMemory, ourReceive),
                      bytesPerSecond(bytes, fromMemory, bareReceive));
    }
    printRow("sendFile alone", sending);
    printRow("receiveFile alone", receiving);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: bench-winsock MEGABYTES ROUNDS, in a folder to write in\n", stderr);
        return 2;
    }
    try {
        compare(std::atoll(argv[1]), std::atoi(argv[2]));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bench-winsock: %s\n", failure.what());
        return 1;
    }
    return 0;
}
