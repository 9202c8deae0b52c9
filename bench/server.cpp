// The whole server, seen from a master and from a plug-in.
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "bench/Figures.h"
#include "bench/Node.h"
#include "bench/Ports.h"
#include "protocol/Ports.h"
#include "protocol/Timeouts.h"

using namespace Bench;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t chunkBytes = 0x10000;

struct Settings {
    std::string programs;
    std::string folder;
    bool isShort = false;

    int rounds(int usual) const { return isShort ? std::max(usual / 10, 2) : usual; }
    std::string nodeFolder() const { return folder + "/node"; }
};

std::string milliseconds(double seconds) {
    return number(seconds * 1e3) + " ms";
}

void writeFile(const std::string& path, std::size_t bytes) {
    std::ofstream(path, std::ios::binary) << std::string(bytes, 'd');
}

/// As a plug-in does: complete before it has its name.
void placeDump(const std::string& folder, const std::string& name, std::size_t bytes) {
    writeFile(folder + "/unfinished", bytes);
    fs::rename(folder + "/unfinished", folder + "/" + name);
}

void pauseAtRandom() {
    static std::minstd_rand random(7);
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + random() % 30));
}

// ---- reference processes -------------------------------------------------------------------

/// A child that does `work` with one end of a connection.
struct Reference {
    Descriptor listener = listenOn(referencePort);
    Process process;
    Descriptor connection;

    explicit Reference(const std::function<void(const Descriptor&)>& work)
        : process([&work] { work(connectTo(referencePort)); }), connection(acceptFrom(listener)) {}
};

void echo(const Descriptor& peer) {
    std::array<char, 4096> bytes;
    for (;;) {
        const auto got =
            checked(static_cast<int>(read(peer.get(), bytes.data(), bytes.size())), "");
        if (got == 0)
            return;
        sendAll(peer, {bytes.data(), static_cast<std::size_t>(got)});
    }
}

/// Directory notification, send.
void announceFiles(const Descriptor& master, const std::string& folder) {
    const Descriptor events(checked(inotify_init1(IN_CLOEXEC), "inotify_init1"));
    checked(inotify_add_watch(events.get(), folder.c_str(), IN_MOVED_TO), "inotify_add_watch");
    sendAll(master, "r");
    std::array<char, 4096> buffer;
    while (read(events.get(), buffer.data(), buffer.size()) > 0)
        sendAll(master, announcement());
}

/// Each file opened, sent and unlinked.
void sendFiles(const Descriptor& master, const std::vector<std::string>& paths) {
    std::array<char, chunkBytes> chunk;
    for (const std::string& path : paths) {
        const Descriptor file(checked(open(path.c_str(), O_RDONLY), "open"));
        const auto size = static_cast<std::int64_t>(fs::file_size(path));
        sendAll(master, announcement());
        sendAll(master, {reinterpret_cast<const char*>(&size), sizeof(size)});
        for (ssize_t got = 0; (got = read(file.get(), chunk.data(), chunk.size())) > 0;)
            sendAll(master, {chunk.data(), static_cast<std::size_t>(got)});
        unlink(path.c_str());
    }
}

/// The polls for pings, and nothing else.
void pollOnly(const Descriptor& /*unused*/) {
    for (;;)
        std::this_thread::sleep_for(Orvane::Timeouts::discoveryPoll);
}

// ---- lines ---------------------------------------------------------------------------------

void measureStart(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    std::vector<double> times;
    for (int i = 0; i < settings.rounds(40); ++i) {
        const auto start = Clock::now();
        node.start();
        times.push_back(secondsSince(start));
        node.stop();
    }
    const double time = median(times);
    print({"start until all ports answer", milliseconds(time), "-", "-", "< 60 ms", time < 0.06});
}

double handshakeTime(const std::function<Descriptor()>& connect, const std::string& handshake) {
    const Descriptor master = connect();
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    const auto start = Clock::now();
    sendAll(master, handshake);
    receiveMessage(master);
    return secondsSince(start);
}

void measureHandshake(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const std::string handshake = masterHandshake(missingHostYear);
    Pairs pairs;
    for (int i = 0; i < settings.rounds(200); ++i) {
        Reference reference(echo);
        const double ours = handshakeTime([] { return connectTo(Orvane::masterPort); }, handshake);
        pairs.add(ours, handshakeTime([&] { return std::move(reference.connection); }, handshake));
    }
    const double onTop = pairs.figure() - pairs.reference();
    print({"master's handshake until the answer", duration(pairs.figure()),
           duration(pairs.reference()) + " bare echo", number(pairs.ratio()), "<= 1 ms on top",
           onTop <= 1e-3});
}

/// Seconds from a file's last name until the first byte of its announcement.
double announcementTime(const std::string& folder, const Descriptor& master, std::size_t rest) {
    constexpr std::size_t bytes = 4096;
    writeFile(folder + "/unfinished", bytes);
    pauseAtRandom();
    const auto start = Clock::now();
    checked(rename((folder + "/unfinished").c_str(), (folder + "/dump_1.exr").c_str()), "rename");
    char first = 0;
    receiveAll(master, &first, 1);
    const double seconds = secondsSince(start);
    receiveAway(master, announcement().size() - 1 + rest);
    return seconds;
}

void measureAnnouncements(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const std::string watched = settings.folder + "/watched";
    fs::create_directories(watched);
    Reference reference([&](const Descriptor& master) { announceFiles(master, watched); });
    receiveAway(reference.connection, 1);
    Job job(node, sendSmallScene);
    job.goOnline();
    constexpr std::size_t sizeAndFile = sizeof(std::int64_t) + 4096;
    std::vector<double> ours;
    std::vector<double> bare;
    for (int i = 0; i < settings.rounds(400); ++i) {
        ours.push_back(announcementTime(node.dataFolder(), job.master, sizeAndFile));
        bare.push_back(announcementTime(watched, reference.connection, 0));
    }
    job.end();
    const double onTop = median(ours) - median(bare);
    const double slow = quantile(ours, 0.99);
    print({"dump renamed until announced, median", duration(median(ours)),
           duration(median(bare)) + " notify, send", number(median(ours) / median(bare)),
           "<= 2 ms on top", onTop <= 2e-3});
    print({"dump renamed until announced, 99 of 100", duration(slow),
           duration(quantile(bare, 0.99)) + " notify, send", number(slow / quantile(bare, 0.99)),
           "< 25 ms", slow < 0.025});
}

constexpr int manyDumps = 1000;
constexpr std::size_t dumpBytes = 100000;

std::vector<std::string> placeManyDumps(const std::string& folder, int count) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        placeDump(folder, "dump_" + std::to_string(i) + ".exr", dumpBytes);
        paths.push_back(folder + "/dump_" + std::to_string(i) + ".exr");
    }
    return paths;
}

/// Bytes per second from the first byte to the last.
double manyDumpsRate(const Descriptor& master) {
    const std::size_t bytes =
        manyDumps * (announcement().size() + sizeof(std::int64_t) + dumpBytes);
    receiveAway(master, 1);
    const auto start = Clock::now();
    receiveAway(master, bytes - 1);
    return static_cast<double>(bytes) / secondsSince(start);
}

void measureManyDumps(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const std::string plain = settings.folder + "/plain";
    fs::create_directories(plain);
    Pairs pairs;
    for (int i = 0; i < settings.rounds(11); ++i) {
        Job job(node, sendSmallScene);
        placeManyDumps(node.dataFolder(), manyDumps);
        job.goOnline();
        const double ours = manyDumpsRate(job.master);
        job.end();
        const auto paths = placeManyDumps(plain, manyDumps);
        const Reference reference([&](const Descriptor& master) { sendFiles(master, paths); });
        pairs.add(ours, manyDumpsRate(reference.connection));
    }
    print({"1,000 dumps of 100 KB", rate(pairs.figure()), rate(pairs.reference()) + " bare socket",
           number(pairs.ratio()), ">= 0.6", pairs.ratio() >= 0.6});
}

/// Seconds from the host's end until a master that waited for its turn is answered; the job's own
/// closes when the server does.
double turnaround(Job& job) {
    const Descriptor next = connectTo(Orvane::masterPort);
    sendAll(next, masterHandshake(missingHostYear));
    const auto start = Clock::now();
    job.end();
    receiveMessage(next);
    return secondsSince(start);
}

void printOnTop(const std::string& what, const Pairs& pairs, double goal) {
    const double onTop = pairs.figure() - pairs.reference();
    print({what, milliseconds(pairs.figure()), milliseconds(pairs.reference()) + " the host alone",
           number(pairs.ratio()), goal == 0 ? "-" : "<= " + milliseconds(goal) + " on top",
           onTop <= goal});
}

void measureJobs(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const HostAlone alone(settings.programs, settings.nodeFolder());
    Pairs starts;
    Pairs ends;
    Pairs silentEnds;
    for (int i = 0; i < settings.rounds(30); ++i) {
        Descriptor host;
        const double bareStart = alone.start(node, host);
        const double bareEnd = alone.end(host);
        Job job(node, sendSmallScene);
        job.goOnline();
        starts.add(job.hostStartSeconds, bareStart);
        ends.add(turnaround(job), bareEnd);
        Job silent(node, sendSmallScene);
        silentEnds.add(turnaround(silent), bareEnd);
    }
    // In Wine most of it is Wine's.
    const bool isJudged = !programFile(settings.programs, "bench-host").ends_with(".exe");
    printOnTop("master's connect until the host runs", starts, isJudged ? 0.01 : 0);
    printOnTop("host's end until the next master is answered", ends, isJudged ? 0.005 : 0);
    printOnTop("the same of a host without its plug-in", silentEnds, isJudged ? 0.005 : 0);
}

/// The server's processor time from the end of a job until the next master's answer, while somebody
/// keeps that many images open for writing.
double heldImagesSeconds(Node& node, int count) {
    Job job(node, sendSmallScene);
    std::vector<Descriptor> writers;
    for (const std::string& path : placeManyDumps(node.dataFolder(), count))
        writers.emplace_back(checked(open(path.c_str(), O_WRONLY | O_CLOEXEC), "open"));
    job.goOnline();
    const double before = node.process().processorSeconds();
    turnaround(job);
    return node.process().processorSeconds() - before;
}

void measureHeldImages(const Settings& settings) {
    rlimit files{};
    checked(getrlimit(RLIMIT_NOFILE, &files), "getrlimit");
    files.rlim_cur = files.rlim_max;
    checked(setrlimit(RLIMIT_NOFILE, &files), "setrlimit");
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    Pairs pairs;
    for (int i = 0; i < settings.rounds(5); ++i) {
        const double few = heldImagesSeconds(node, manyDumps / 4);
        pairs.add(heldImagesSeconds(node, manyDumps), few);
    }
    print({"1,000 images held open at the job's end, processor", milliseconds(pairs.figure()),
           milliseconds(pairs.reference()) + " 250 images", number(pairs.ratio()),
           "<= 6 (linear: 4)", pairs.ratio() <= 6});
}

std::vector<Descriptor> silentConnections(int count) {
    std::vector<Descriptor> silent;
    silent.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        silent.push_back(connectTo(Orvane::masterPort));
    return silent;
}

void measureCrowd(const Settings& settings) {
    constexpr int strangersBeside = 200;
    constexpr int strangersDuringJob = 1000;
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const std::string handshake = masterHandshake(missingHostYear);
    const auto toServer = [] { return connectTo(Orvane::masterPort); };
    Pairs answers;
    std::vector<double> ends;
    for (int i = 0; i < settings.rounds(30); ++i) {
        const double alone = handshakeTime(toServer, handshake);
        const auto silent = silentConnections(strangersBeside);
        answers.add(handshakeTime(toServer, handshake), alone);
    }
    for (int i = 0; i < settings.rounds(10); ++i) {
        Job job(node, sendSmallScene);
        job.goOnline();
        for (int stranger = 0; stranger < strangersDuringJob; ++stranger)
            silentConnections(1);
        ends.push_back(turnaround(job));
    }
    const double onTop = answers.figure() - answers.reference();
    print({"answer with 200 silent connections open", duration(answers.figure()),
           duration(answers.reference()) + " with none", number(answers.ratio()), "<= 20 ms on top",
           onTop <= 0.02});
    print({"job's end until the next master, 1,000 strangers", duration(median(ends)), "-", "-",
           "< 50 ms", median(ends) < 0.05});
}

/// Eight bytes that depend on their place in the stream, so that a lost or doubled piece shows.
void fillBlock(std::vector<std::uint64_t>& block, std::uint64_t firstWord) {
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = (firstWord + i) * 0x9E3779B97F4A7C15U;
}

class BigFile {
  public:
    explicit BigFile(std::int64_t size) : bytes(size) {}

    void send(const Descriptor& peer) const {
        sendAll(peer, {reinterpret_cast<const char*>(&bytes), sizeof(bytes)});
        std::vector<std::uint64_t> block(blockWords);
        for (std::int64_t at = 0; at < bytes; at += blockBytes) {
            fillBlock(block, static_cast<std::uint64_t>(at) / sizeof(std::uint64_t));
            sendAll(peer, {reinterpret_cast<const char*>(block.data()), blockBytes});
        }
    }
    /// Whether exactly these bytes come.
    bool arrives(const Descriptor& peer) const {
        receiveAway(peer, announcement().size());
        std::int64_t announced = 0;
        receiveAll(peer, &announced, sizeof(announced));
        bool same = announced == bytes;
        std::vector<std::uint64_t> got(blockWords);
        std::vector<std::uint64_t> expected(blockWords);
        for (std::int64_t at = 0; same && at < bytes; at += blockBytes) {
            receiveAll(peer, got.data(), blockBytes);
            fillBlock(expected, static_cast<std::uint64_t>(at) / sizeof(std::uint64_t));
            same = got == expected;
        }
        return same;
    }

  private:
    static constexpr std::size_t blockWords = 1 << 15;
    static constexpr std::size_t blockBytes = blockWords * sizeof(std::uint64_t);
    std::int64_t bytes;
};

/// The most resident memory that a process has while this object lives.
class ResidentWatch {
  public:
    explicit ResidentWatch(const Process& watched)
        : thread([this, &watched] {
              while (!stop) {
                  most = std::max(most, watched.residentBytes());
                  std::this_thread::sleep_for(std::chrono::milliseconds(20));
              }
          }) {}
    std::int64_t finish() {
        stop = true;
        thread.join();
        return most;
    }

  private:
    std::int64_t most = 0;
    std::atomic<bool> stop = false;
    std::thread thread;
};

std::string sceneIn(const std::string& folder) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("received_scene_"))
            return entry.path();
    }
    throw std::runtime_error("no scene in the data folder");
}

void measureBigFiles(const Settings& settings) {
    constexpr std::int64_t gibibyte = 1 << 30;
    const BigFile file(settings.isShort ? gibibyte / 4 : 5 * gibibyte);
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    // One small job first: what every job needs once is not a matter of the file's size.
    Job small(node, sendSmallScene);
    placeDump(node.dataFolder(), "dump_0.exr", 1000);
    small.goOnline();
    small.end();
    const std::int64_t before = node.process().residentBytes();
    ResidentWatch watch(node.process());
    Job job(node, [&](const Descriptor& master) { file.send(master); });
    job.goOnline();
    fs::create_hard_link(sceneIn(node.dataFolder()), node.dataFolder() + "/dump_big.exr");
    const bool whole = file.arrives(job.master);
    const double growth = static_cast<double>(watch.finish() - before);
    job.end();
    print({settings.isShort ? "256 MiB scene and dump" : "5 GiB scene and dump",
           whole ? "whole" : "NOT WHOLE", number(growth / 1024) + " KiB more resident", "-",
           "whole, <= 2 MiB", whole && growth <= 2 * 1024 * 1024});
}

struct Idle {
    double wakeups;
    double processor;
};

Idle watchIdle(const Process& process, double seconds) {
    const auto sleeps = process.sleeps();
    const double processor = process.processorSeconds();
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const double took = secondsSince(start);
    return {static_cast<double>(process.sleeps() - sleeps) / took,
            (process.processorSeconds() - processor) / took};
}

void measureIdle(const Settings& settings) {
    Node node(settings.programs, settings.nodeFolder());
    node.start();
    const Reference reference(pollOnly);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double seconds = settings.isShort ? 5 : 300;
    Idle bare{};
    std::thread beside([&] { bare = watchIdle(reference.process, seconds); });
    const Idle ours = watchIdle(node.process(), seconds);
    beside.join();
    const auto resident = static_cast<double>(node.process().residentBytes()) / 1e6;
    print(
        {"idle: resident memory", number(resident) + " MB", "-", "-", "< 5.5 MB", resident < 5.5});
    print({"idle: processor time of one core", number(ours.processor * 100) + " %",
           number(bare.processor * 100) + " % polls alone", number(ours.processor / bare.processor),
           "< 0.05 %", ours.processor < 0.0005});
    print({"idle: wake-ups per second", number(ours.wakeups), number(bare.wakeups) + " polls alone",
           number(ours.wakeups / bare.wakeups), "no more", ours.wakeups <= bare.wakeups + 0.1});
}

/// Needs a display.
void measureDesktop(const Settings& settings) {
    const std::string window = programFile(settings.programs, "bench-window");
    const Process empty([&] { runProgram(window, settings.folder); });
    Node node(settings.programs, settings.nodeFolder(), "dr-server");
    node.start();
    std::this_thread::sleep_for(std::chrono::seconds(settings.isShort ? 5 : 60));
    const auto ours = static_cast<double>(node.process().residentBytes());
    const auto bare = static_cast<double>(empty.residentBytes());
    const auto megabytes = [](double bytes) { return number(bytes / 1e6) + " MB"; };
    print({"idle desktop: resident memory", megabytes(ours), megabytes(bare) + " empty window",
           number(ours / bare), "<= 3 MB more", ours - bare <= 3e6});
}

const std::map<std::string, void (*)(const Settings&)> lines = {{"announce", measureAnnouncements},
                                                                {"big", measureBigFiles},
                                                                {"crowd", measureCrowd},
                                                                {"desktop", measureDesktop},
                                                                {"dumps", measureManyDumps},
                                                                {"handshake", measureHandshake},
                                                                {"held", measureHeldImages},
                                                                {"idle", measureIdle},
                                                                {"jobs", measureJobs},
                                                                {"start", measureStart}};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4 || lines.count(argv[1]) == 0) {
        std::fputs("usage: bench-server LINE PROGRAMS FOLDER [--short]\nlines:", stderr);
        for (const auto& line : lines)
            std::fprintf(stderr, " %s", line.first.c_str());
        std::fputc('\n', stderr);
        return 2;
    }
    const Settings settings{argv[2], argv[3], argc > 4};
    try {
        lines.at(argv[1])(settings);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bench-server: %s\n", failure.what());
        return 1;
    }
    return 0;
}
