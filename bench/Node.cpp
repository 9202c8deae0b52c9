#include "bench/Node.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "bench/Figures.h"
#include "bench/Ports.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"

namespace Bench {

namespace {

namespace fs = std::filesystem;

/// Whether a datagram to the port is taken. The answer to a ping comes with the next poll.
bool isDatagramPortBound(unsigned short port) {
    const Descriptor probe(checked(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            "connect");
    send(probe.get(), "", 0, 0);
    char byte = 0;
    return recv(probe.get(), &byte, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

std::string onTheWire(const Orvane::String& message) {
    return Orvane::wireBytes(message);
}

void answerAsPlugin(const Descriptor& plugin) {
    receiveMessage(plugin);
    sendAll(plugin, onTheWire(Orvane::PluginAnswer::text()));
}

}  // namespace

std::string programFile(const std::string& programs, const std::string& name) {
    const std::string path = programs + "/" + name;
    return fs::exists(path) ? path : path + ".exe";
}

void runProgram(const std::string& program, const std::string& folder,
                const std::string& argument) {
    checked(chdir(folder.c_str()), "chdir");
    const int nowhere = checked(open("/dev/null", O_WRONLY | O_CLOEXEC), "open");
    checked(dup2(nowhere, STDOUT_FILENO), "dup2");
    std::vector<const char*> words = {program.c_str()};
    if (program.ends_with(".exe"))
        words.insert(words.begin(), "wine");
    if (!argument.empty())
        words.push_back(argument.c_str());
    words.push_back(nullptr);
    checked(execvp(words[0], const_cast<char* const*>(words.data())), words[0]);
}

Node::Node(std::string programFolder, std::string ownFolder, std::string name)
    : programs(std::move(programFolder)),
      folder(std::move(ownFolder)),
      serverName(std::move(name)),
      hostListener(listenOn(hostPort)) {
    fs::remove_all(folder);
    fs::create_directories(folder + "/host");
    fs::copy_file(programFile(programs, "bench-host"), hostProgram());
}

Descriptor Node::awaitHost() const {
    Descriptor host = acceptFrom(hostListener);
    char byte = 0;
    receiveAll(host, &byte, 1);
    return host;
}

void Node::start() {
    using Orvane::discoveryPort;
    using Orvane::loopbackPort;
    using Orvane::masterPort;
    fs::remove_all(dataFolder());
    fs::create_directories(dataFolder());
    std::ofstream(dataFolder() + "/DrConfig-1.00.txt") << hostYear << " " << folder << "/host\n";
    server = std::make_unique<Process>(
        [this] { runProgram(programFile(programs, serverName), folder); });
    while (!isListening(loopbackPort) || !isDatagramPortBound(discoveryPort))
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    while (!isListening(masterPort))
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    shakeHands(connectTo(masterPort), missingHostYear);
}

std::string masterHandshake(std::int32_t year) {
    return onTheWire(Orvane::MasterHandshake{{Orvane::sceneReleaseText(year), "", "0"}}.text());
}

void shakeHands(const Descriptor& master, std::int32_t year) {
    sendAll(master, masterHandshake(year));
    receiveMessage(master);
}

HostAlone::HostAlone(const std::string& programs, const std::string& folder)
    : listener(listenOn(launcherPort)),
      launcher([&] {
          runProgram(programFile(programs, "bench-launcher"), folder,
                     "echo Starting 3ds max DR... && \"" + folder + "/host/3dsmaxcmd.exe\"");
      }),
      connection(acceptFrom(listener)) {}

double HostAlone::start(const Node& node, Descriptor& host) const {
    const auto start = Clock::now();
    sendAll(connection, "s");
    host = node.awaitHost();
    return secondsSince(start);
}

double HostAlone::end(Descriptor& host) const {
    const auto start = Clock::now();
    host.close();
    char byte = 0;
    receiveAll(connection, &byte, 1);
    return secondsSince(start);
}

Job::Job(const Node& node, const std::function<void(const Descriptor&)>& sendScene) {
    const auto start = Clock::now();
    master = connectTo(Orvane::masterPort);
    shakeHands(master, hostYear);
    sendScene(master);
    host = node.awaitHost();
    hostStartSeconds = secondsSince(start);
}

void Job::goOnline() {
    plugin = connectTo(Orvane::loopbackPort);
    answerAsPlugin(plugin);
}

void Job::end() {
    plugin.close();
    host.close();
    awaitEnd(master);
    master.close();
}

void sendSmallScene(const Descriptor& master) {
    const std::int64_t size = 1 << 20;
    std::string bytes(reinterpret_cast<const char*>(&size), sizeof(size));
    bytes.resize(sizeof(size) + size, 's');
    sendAll(master, bytes);
}

std::string announcement() {
    return onTheWire(Orvane::DumpExr::text());
}

}  // namespace Bench
