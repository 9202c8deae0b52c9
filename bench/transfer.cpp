// File transfer over loopback: the product's two ends beside bare read/send and recv/write loops,
// and beside other people's tools.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/BareSocket.h"
#include "bench/Figures.h"
#include "protocol/FileTransfer.h"
#include "protocol/Listener.h"

using namespace Bench;

namespace {

constexpr unsigned short port = 20100;

struct Settings {
    std::string folder;
    std::int64_t megabytes = 1024;
    int rounds = 9;
    std::string source() const { return folder + "/source.bin"; }
    std::string target() const { return folder + "/target.bin"; }
    double bytes() const { return static_cast<double>(megabytes) * (1 << 20); }
};

std::size_t moved(ssize_t result) {
    return static_cast<std::size_t>(checked(static_cast<int>(result), "transfer"));
}

void makeSource(const Settings& settings) {
    const Descriptor file(
        checked(open(settings.source().c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), "open"));
    std::string block(1 << 20, 'x');
    for (std::int64_t i = 0; i < settings.megabytes; ++i) {
        for (std::size_t at = 0; at < block.size(); ++at)
            block[at] = static_cast<char>(at * 31 + static_cast<std::size_t>(i));
        moved(write(file.get(), block.data(), block.size()));
    }
}

void bareSend(const Descriptor& socket, const std::string& path) {
    const Descriptor file(checked(open(path.c_str(), O_RDONLY | O_CLOEXEC), "open"));
    struct stat status {};
    checked(fstat(file.get(), &status), "fstat");
    std::int64_t size = status.st_size;
    sendAll(socket, {reinterpret_cast<const char*>(&size), sizeof(size)});
    std::array<char, Orvane::fileChunkBytes> chunk;
    while (const std::size_t got = moved(read(file.get(), chunk.data(), chunk.size())))
        sendAll(socket, {chunk.data(), got});
}

void bareReceive(const Descriptor& socket, const std::string& path) {
    const Descriptor file(
        checked(open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600), "open"));
    std::int64_t size = 0;
    receiveAll(socket, &size, sizeof(size));
    std::array<char, Orvane::fileChunkBytes> chunk;
    while (size > 0) {
        const std::size_t wanted =
            std::min<std::size_t>(chunk.size(), static_cast<std::size_t>(size));
        const std::size_t got = moved(recv(socket.get(), chunk.data(), wanted, 0));
        if (got == 0 || moved(write(file.get(), chunk.data(), got)) != got)
            throw std::runtime_error("the bare loop ended early");
        size -= static_cast<std::int64_t>(got);
    }
}

/// The same bytes from a buffer, over and over.
void sendFromMemory(const Descriptor& socket, std::int64_t size) {
    sendAll(socket, {reinterpret_cast<const char*>(&size), sizeof(size)});
    const std::string chunk(Orvane::fileChunkBytes, 'm');
    for (; size > 0; size -= static_cast<std::int64_t>(chunk.size()))
        sendAll(socket, chunk);
}

enum class End { Product, BareLoop, MemoryOnly };

class Sender {
  public:
    /// Connects, which the toolkit wants done on the main thread.
    explicit Sender(End kind) : end(kind) {
        if (end == End::Product)
            product = Orvane::Connection::connect("127.0.0.1", port, 5);
        else
            bare = connectTo(port);
    }
    void run(const Settings& settings) {
        if (end == End::BareLoop)
            bareSend(bare, settings.source());
        else if (end == End::MemoryOnly)
            sendFromMemory(bare, settings.megabytes << 20);
        else if (sendFile(*product, settings.source()) != 0)
            throw std::runtime_error("sendFile failed");
    }

  private:
    End end;
    std::unique_ptr<Orvane::Connection> product;
    Descriptor bare;
};

class Receiver {
  public:
    explicit Receiver(End kind) : end(kind) {
        if (end == End::Product)
            listener =
                std::make_unique<Orvane::Listener>(Orvane::Listener::Reach::Loopback, port, 5);
        else
            bareListener = listenOn(port);
    }
    void accept() {
        if (end == End::Product)
            product = listener->accept();
        else
            bare = acceptFrom(bareListener);
    }
    void run(const Settings& settings) {
        if (end == End::BareLoop)
            bareReceive(bare, settings.target());
        else if (end == End::MemoryOnly)
            receiveAway(bare, sizeof(std::int64_t) + (settings.megabytes << 20));
        else if (receiveFile(*product, settings.target()) != 0)
            throw std::runtime_error("receiveFile failed");
    }

  private:
    End end;
    std::unique_ptr<Orvane::Listener> listener;
    std::unique_ptr<Orvane::Connection> product;
    Descriptor bareListener;
    Descriptor bare;
};

/// Moves the file once, each end on a thread of its own; bytes per second until both are done.
double transfer(const Settings& settings, End sending, End receiving) {
    std::remove(settings.target().c_str());
    Receiver receiver(receiving);
    Sender sender(sending);
    receiver.accept();
    const auto start = Clock::now();
    std::thread thread([&] { receiver.run(settings); });
    sender.run(settings);
    thread.join();
    return settings.bytes() / secondsSince(start);
}

constexpr double noGoal = 0;

void printAtLeast(double goal, const std::string& what, const Pairs& pairs,
                  const std::string& reference) {
    print({what, rate(pairs.figure()), rate(pairs.reference()) + " " + reference,
           number(pairs.ratio()), goal == noGoal ? "-" : ">= " + number(goal),
           pairs.ratio() >= goal});
}

void compareWithBareLoops(const Settings& settings) {
    Pairs sending;
    Pairs receiving;
    Pairs both;
    transfer(settings, End::BareLoop, End::BareLoop);
    for (int i = 0; i < settings.rounds; ++i) {
        const double bare = transfer(settings, End::BareLoop, End::BareLoop);
        sending.add(transfer(settings, End::Product, End::BareLoop), bare);
        receiving.add(transfer(settings, End::BareLoop, End::Product), bare);
        both.add(transfer(settings, End::Product, End::Product), bare);
    }
    constexpr double goal = 0.95;
    printAtLeast(goal, "sendFile to a bare loop", sending, "bare loops");
    printAtLeast(goal, "receiveFile from a bare loop", receiving, "bare loops");
    printAtLeast(goal, "sendFile to receiveFile", both, "bare loops");
}

std::string outputOf(const std::string& command) {
    std::FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    for (int byte = 0; pipe != nullptr && (byte = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(byte);
    if (pipe == nullptr || pclose(pipe) != 0)
        throw std::runtime_error("failed: " + command);
    return output;
}

/// Bytes per second that iperf3 says its receiver got.
double iperfRate(const std::string& command) {
    const std::string output = outputOf(command);
    const std::string key = "\"bits_per_second\":";
    const std::size_t at = output.find(key, output.find("\"sum_received\""));
    return at == output.npos ? 0 : std::stod(output.substr(at + key.size())) / 8;
}

double copyRate(const Settings& settings, const std::string& command) {
    std::remove(settings.target().c_str());
    const auto start = Clock::now();
    outputOf(command);
    return settings.bytes() / secondsSince(start);
}

void compareWithTools(const Settings& settings) {
    // Set by bench/run-lines, which starts the tools' servers.
    const auto command = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value == nullptr ? "false" : value);
    };
    Pairs sending;
    Pairs receiving;
    Pairs both;
    Pairs bare;
    Pairs rsync;
    Pairs rsyncDaemon;
    Pairs scp;
    for (int i = 0; i < settings.rounds; ++i) {
        const double stream = iperfRate(command("BENCH_IPERF"));
        sending.add(transfer(settings, End::Product, End::MemoryOnly), stream);
        receiving.add(transfer(settings, End::MemoryOnly, End::Product), stream);
        const double ours = transfer(settings, End::Product, End::Product);
        both.add(ours, stream);
        bare.add(transfer(settings, End::BareLoop, End::BareLoop), stream);
        rsync.add(ours, copyRate(settings, command("BENCH_RSYNC")));
        rsyncDaemon.add(ours, copyRate(settings, command("BENCH_RSYNC_DAEMON")));
        scp.add(ours, copyRate(settings, command("BENCH_SCP")));
    }
    printAtLeast(0.7, "sendFile to a reader that keeps nothing", sending, "iperf3");
    printAtLeast(0.7, "receiveFile from a sender without a file", receiving, "iperf3");
    printAtLeast(0.7, "sendFile to receiveFile", both, "iperf3");
    printAtLeast(noGoal, "bare loops", bare, "iperf3");
    printAtLeast(3, "sendFile to receiveFile", rsync, "rsync");
    printAtLeast(3, "sendFile to receiveFile", scp, "scp");
    // Nothing is encrypted, which leaves little to be faster at.
    printAtLeast(noGoal, "sendFile to receiveFile", rsyncDaemon, "rsync daemon");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("usage: bench-transfer bare|tools FOLDER MEGABYTES ROUNDS\n", stderr);
        return 2;
    }
    const Settings settings{argv[2], std::stoll(argv[3]), std::stoi(argv[4])};
    try {
        makeSource(settings);
        if (std::string(argv[1]) == "bare")
            compareWithBareLoops(settings);
        else
            compareWithTools(settings);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bench-transfer: %s\n", failure.what());
        return 1;
    }
    return 0;
}
