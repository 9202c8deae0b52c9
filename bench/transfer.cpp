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
#include "protocol/SocketLibrary.h"

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

using Work = std::function<void()>;

/// Seconds until both ends are done.
double timed(const Work& send, const Work& receive) {
    const auto start = Clock::now();
    std::thread receiver(receive);
    send();
    receiver.join();
    return secondsSince(start);
}

void require(int result) {
    if (result != 0)
        throw std::runtime_error("the transfer failed");
}

/// Moves the file once; each end is the product's or a bare loop. Answers bytes per second.
double transfer(const Settings& settings, bool productSends, bool productReceives) {
    std::remove(settings.target().c_str());
    Orvane::Listener productListener(Orvane::Listener::Reach::Loopback, port, 5);
    // Connected and accepted on the main thread, as the toolkit wants it.
    std::unique_ptr<Orvane::Connection> productSender;
    Descriptor bareSender;
    if (productSends)
        productSender = Orvane::Connection::connect("127.0.0.1", port, 5);
    else
        bareSender = connectTo(port);
    auto productReceiver = productListener.accept();
    Descriptor bareReceiver;
    if (!productReceives) {
        bareReceiver = Descriptor(dup(static_cast<int>(productReceiver->handle())));
        fcntl(bareReceiver.get(), F_SETFL, 0);
    }
    const Work send = [&] {
        if (productSends)
            require(sendFile(*productSender, settings.source()));
        else
            bareSend(bareSender, settings.source());
    };
    const Work receive = [&] {
        if (productReceives)
            require(receiveFile(*productReceiver, settings.target()));
        else
            bareReceive(bareReceiver, settings.target());
    };
    return settings.bytes() / timed(send, receive);
}

void compareWithBareLoops(const Settings& settings) {
    Pairs sending;
    Pairs receiving;
    Pairs both;
    transfer(settings, false, false);
    for (int i = 0; i < settings.rounds; ++i) {
        const double bare = transfer(settings, false, false);
        sending.add(transfer(settings, true, false), bare);
        receiving.add(transfer(settings, false, true), bare);
        both.add(transfer(settings, true, true), bare);
    }
    const auto row = [](const char* what, const Pairs& pairs) {
        constexpr double goal = 0.95;
        print({what, rate(pairs.figure()), rate(pairs.reference()) + " bare loops",
               number(pairs.ratio()), ">= 0.95", pairs.ratio() >= goal});
    };
    row("sendFile to a bare loop", sending);
    row("receiveFile from a bare loop", receiving);
    row("sendFile to receiveFile", both);
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
    return at == output.npos ? 0 : std::atof(output.c_str() + at + key.size()) / 8;
}

double copyRate(const Settings& settings, const std::string& command) {
    std::remove(settings.target().c_str());
    const auto start = Clock::now();
    outputOf(command);
    return settings.bytes() / secondsSince(start);
}

void compareWithTools(const Settings& settings) {
    // Set by scripts/bench, which starts the tools' servers.
    const std::string iperf = std::getenv("BENCH_IPERF");
    const std::string rsync = std::getenv("BENCH_RSYNC");
    const std::string scp = std::getenv("BENCH_SCP");
    Pairs overIperf;
    Pairs overRsync;
    Pairs overScp;
    for (int i = 0; i < settings.rounds; ++i) {
        const double ours = transfer(settings, true, true);
        overIperf.add(ours, iperfRate(iperf));
        overRsync.add(ours, copyRate(settings, rsync));
        overScp.add(ours, copyRate(settings, scp));
    }
    const auto row = [](const char* what, const Pairs& pairs, double goal) {
        print({std::string("sendFile to receiveFile over ") + what, rate(pairs.figure()),
               rate(pairs.reference()), number(pairs.ratio()), ">= " + number(goal),
               pairs.ratio() >= goal});
    };
    row("one iperf3 stream", overIperf, 0.7);
    row("rsync", overRsync, 3);
    row("scp", overScp, 3);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("usage: bench-transfer bare|tools FOLDER MEGABYTES ROUNDS\n", stderr);
        return 2;
    }
    const Orvane::SocketLibrary sockets;
    const Settings settings{argv[2], std::atoll(argv[3]), std::atoi(argv[4])};
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
