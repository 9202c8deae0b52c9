#include "bench/Node.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "bench/Figures.h"
#include "protocol/Framing.h"
#include "protocol/Messages.h"
#include "protocol/Ports.h"

namespace Bench {

namespace {

namespace fs = std::filesystem;
namespace Tag = Orvane::Tag;

Descriptor listenLocally(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    Descriptor listener(checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    checked(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            "bind");
    checked(listen(listener.get(), 1), "listen");
    return listener;
}

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

void runProgram(const std::string& program, const std::string& folder) {
    checked(chdir(folder.c_str()), "chdir");
    const int nowhere = checked(open("/dev/null", O_WRONLY | O_CLOEXEC), "open");
    checked(dup2(nowhere, STDOUT_FILENO), "dup2");
    checked(execl(program.c_str(), program.c_str(), nullptr), "execl");
}

Node::Node(std::string programFolder, std::string ownFolder, std::string name)
    : programs(std::move(programFolder)),
      folder(std::move(ownFolder)),
      serverName(std::move(name)) {
    fs::remove_all(folder);
    fs::create_directories(folder + "/host");
    hostListener = listenLocally(folder + "/host/bench.socket");
    fs::create_symlink(programs + "/bench-host", folder + "/host/3dsmaxcmd.exe");
}

void Node::start() {
    using Orvane::discoveryPort;
    using Orvane::loopbackPort;
    using Orvane::masterPort;
    fs::remove_all(dataFolder());
    fs::create_directories(dataFolder());
    std::ofstream(dataFolder() + "/DrConfig-1.00.txt") << "2014 " << folder << "/host\n";
    server = std::make_unique<Process>([this] { runProgram(programs + "/" + serverName, folder); });
    while (!isListening(loopbackPort) || !isDatagramPortBound(discoveryPort))
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    while (!isListening(masterPort))
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    shakeHands(connectTo(masterPort), "max2010");
}

std::string masterHandshake(const std::string& hostVersion) {
    return onTheWire(Orvane::MasterHandshake{{hostVersion, "", "0"}}.text());
}

void shakeHands(const Descriptor& master, const std::string& hostVersion) {
    sendAll(master, masterHandshake(hostVersion));
    receiveMessage(master);
}

Job::Job(Node& node, const std::function<void(const Descriptor&)>& sendScene,
         const std::function<void()>& onHostRuns)
    : master(connectTo(Orvane::masterPort)) {
    shakeHands(master, "max2014");
    sendScene(master);
    const auto start = Clock::now();
    host = node.awaitHost();
    char byte = 0;
    receiveAll(host, &byte, 1);
    hostStartSeconds = secondsSince(start);
    onHostRuns();
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
