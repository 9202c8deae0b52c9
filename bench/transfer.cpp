// File transfer over loopback. Each of the product's ends alone, with nothing but memory at the
// other, beside the same end as a bare loop of 64 KiB calls; then beside other people's tools.
#include <fcntl.h>
#include <sys/resource.h>
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
#include <utility>

#include "bench/BareSocket.h"
#include "bench/Figures.h"
#include "bench/Ports.h"
#include "protocol/FileTransfer.h"
#include "protocol/Listener.h"

using namespace Bench;

namespace {

constexpr unsigned short port = transferPort;

struct Settings {
    std::string folder;
    std::string diskFolder;
    std::int64_t megabytes = 1024;
    int rounds = 9;
    std::string source() const { return folder + "/source.bin"; }
    std::string target() const { return folder + "/target.bin"; }
    std::string diskTarget() const { return diskFolder + "/target.bin"; }
    double bytes() const { return static_cast<double>(megabytes) * (1 << 20); }
};

double threadSeconds() {
    rusage used{};
    getrusage(RUSAGE_THREAD, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

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
    const std::string block(1 << 17, 'm');
    for (; size > 0; size -= static_cast<std::int64_t>(block.size()))
        sendAll(socket, block);
}

/// Not even looked at, so that the sender is the slower end.
void drop(const Descriptor& socket, std::int64_t size) {
    constexpr std::int64_t atOnce = 1 << 22;
    while (size > 0)
        size -= static_cast<std::int64_t>(
            moved(recv(socket.get(), nullptr, std::min(size, atOnce), MSG_TRUNC)));
}

enum class End { Product, BareLoop, MemoryOnly };

class Sender {
  public:
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
    void run(const Settings& settings, const std::string& target) {
        if (end == End::BareLoop)
            bareReceive(bare, target);
        else if (end == End::MemoryOnly)
            drop(bare,
                 static_cast<std::int64_t>(sizeof(std::int64_t)) + (settings.megabytes << 20));
        else if (receiveFile(*product, target) != 0)
            throw std::runtime_error("receiveFile failed");
    }

  private:
    End end;
    std::unique_ptr<Orvane::Listener> listener;
    std::unique_ptr<Orvane::Connection> product;
    Descriptor bareListener;
    Descriptor bare;
};

struct Transfer {
    double rate;            ///< bytes per second until both ends are done
    double sendSeconds;     ///< of a processor, for all bytes
    double receiveSeconds;  ///< the same
};

/// Moves the file once, each end on a thread of its own.
Transfer transfer(const Settings& settings, End sending, End receiving, const std::string& target) {
    // One that another tool has left, which to cut to nothing takes its time.
    std::remove(target.c_str());
    Receiver receiver(receiving);
    Sender sender(sending);
    receiver.accept();
    Transfer done{};
    const auto start = Clock::now();
    std::thread receivingThread([&] {
        receiver.run(settings, target);
        done.receiveSeconds = threadSeconds();
    });
    std::thread sendingThread([&] {
        sender.run(settings);
        done.sendSeconds = threadSeconds();
    });
    receivingThread.join();
    sendingThread.join();
    done.rate = settings.bytes() / secondsSince(start);
    // Now, so that its pages are nothing that the next one has to do with.
    std::remove(target.c_str());
    return done;
}

Transfer sendAlone(const Settings& settings, End end) {
    return transfer(settings, end, End::MemoryOnly, settings.target());
}

Transfer receiveAlone(const Settings& settings, End end, const std::string& target) {
    return transfer(settings, End::MemoryOnly, end, target);
}

constexpr double noGoal = 0;

void printAtLeast(double goal, const std::string& what, const Pairs& pairs,
                  const std::string& reference) {
    print({what, rate(pairs.figure()), rate(pairs.reference()) + " " + reference,
           number(pairs.ratio()), goal == noGoal ? "-" : ">= " + number(goal),
           pairs.ratio() >= goal});
}

void printProcessorTime(const Settings& settings, const std::string& what, const Pairs& pairs,
                        double goal) {
    const double perGigabyte = 1e9 / settings.bytes();
    const auto seconds = [&](double value) { return number(value * perGigabyte) + " s/GB"; };
    print({what + ", processor", seconds(pairs.figure()), seconds(pairs.reference()) + " bare loop",
           number(pairs.ratio()), goal == noGoal ? "-" : "<= " + number(goal),
           pairs.ratio() <= goal});
}

/// One end of the product, round by round beside the same end as a bare loop.
struct EndFigures {
    Pairs rates;
    Pairs processor;

    void addSending(const Transfer& ours, const Transfer& bare) {
        rates.add(ours.rate, bare.rate);
        processor.add(ours.sendSeconds, bare.sendSeconds);
    }
    void addReceiving(const Transfer& ours, const Transfer& bare) {
        rates.add(ours.rate, bare.rate);
        processor.add(ours.receiveSeconds, bare.receiveSeconds);
    }
    void print(const Settings& settings, const std::string& what, double processorGoal) const {
        printAtLeast(1, what, rates, "bare loop");
        printProcessorTime(settings, what, processor, processorGoal);
    }
};

void compareWithBareLoops(const Settings& settings) {
    EndFigures sending;
    EndFigures toDisk;
    EndFigures toMemory;
    Pairs both;
    for (int i = 0; i < settings.rounds; ++i) {
        // Either goes first in turn, so that what was before does not always count against one.
        const auto pair = [&](const auto& measure) {
            const bool oursFirst = i % 2 == 0;
            const Transfer first = measure(oursFirst ? End::Product : End::BareLoop);
            const Transfer second = measure(oursFirst ? End::BareLoop : End::Product);
            return oursFirst ? std::pair{first, second} : std::pair{second, first};
        };
        const auto receive = [&](EndFigures& figures, const std::string& target) {
            const auto [ours, bare] =
                pair([&](End end) { return receiveAlone(settings, end, target); });
            figures.addReceiving(ours, bare);
        };
        const auto [ours, bare] = pair([&](End end) { return sendAlone(settings, end); });
        sending.addSending(ours, bare);
        receive(toDisk, settings.diskTarget());
        receive(toMemory, settings.target());
        const auto [oursBoth, bareBoth] =
            pair([&](End end) { return transfer(settings, end, end, settings.diskTarget()); });
        both.add(oursBoth.rate, bareBoth.rate);
    }
    constexpr double goal = 0.6;
    sending.print(settings, "sendFile alone", goal);
    toDisk.print(settings, "receiveFile alone, to a disk", goal);
    toMemory.print(settings, "receiveFile alone, to memory", noGoal);
    printAtLeast(0.95, "sendFile to receiveFile", both, "bare loops");
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

/// Of what receiving ends with, without the receiving.
double writeRate(const Settings& settings, const std::string& target) {
    std::remove(target.c_str());
    const std::string block(1 << 20, 'w');
    const auto start = Clock::now();
    const Descriptor file(
        checked(open(target.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600), "open"));
    for (std::int64_t i = 0; i < settings.megabytes; ++i)
        moved(write(file.get(), block.data(), block.size()));
    return settings.bytes() / secondsSince(start);
}

void compareWithTools(const Settings& settings) {
    // Set by bench/run-lines, which starts the tools' servers.
    const auto command = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value == nullptr ? "false" : value);
    };
    Pairs sending;
    Pairs toDisk;
    Pairs toMemory;
    Pairs onlyWriting;
    Pairs rsync;
    Pairs rsyncDaemon;
    Pairs scp;
    for (int i = 0; i < settings.rounds; ++i) {
        const double stream = iperfRate(command("BENCH_IPERF"));
        sending.add(sendAlone(settings, End::Product).rate, stream);
        toDisk.add(receiveAlone(settings, End::Product, settings.diskTarget()).rate, stream);
        toMemory.add(receiveAlone(settings, End::Product, settings.target()).rate, stream);
        onlyWriting.add(writeRate(settings, settings.target()), stream);
        const double ours = transfer(settings, End::Product, End::Product, settings.target()).rate;
        rsync.add(ours, copyRate(settings, command("BENCH_RSYNC")));
        rsyncDaemon.add(ours, copyRate(settings, command("BENCH_RSYNC_DAEMON")));
        scp.add(ours, copyRate(settings, command("BENCH_SCP")));
    }
    printAtLeast(0.85, "sendFile alone", sending, "iperf3");
    printAtLeast(0.6, "receiveFile alone, to a disk", toDisk, "iperf3");
    // Without a goal: where writing alone takes this long, receiving takes longer.
    printAtLeast(noGoal, "receiveFile alone, to memory", toMemory, "iperf3");
    printAtLeast(noGoal, "writing alone, to memory", onlyWriting, "iperf3");
    printAtLeast(3, "sendFile to receiveFile", rsync, "rsync");
    printAtLeast(3, "sendFile to receiveFile", scp, "scp");
    // Nothing is encrypted, which leaves little to be faster at.
    printAtLeast(noGoal, "sendFile to receiveFile", rsyncDaemon, "rsync daemon");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fputs("usage: bench-transfer bare|tools MEMORY-FOLDER DISK-FOLDER MEGABYTES ROUNDS\n",
                   stderr);
        return 2;
    }
    const Settings settings{argv[2], argv[3], std::stoll(argv[4]), std::stoi(argv[5])};
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
