#pragma once

#include <memory>
#include <string>

#include "bench/BareSocket.h"
#include "bench/Process.h"

namespace Bench {

/// A render node: a server in a folder of its own, with a host program that does what the benchmark
/// wants. The ports are fixed, so there is one at a time.
class Node {
  public:
    /// `programs` is the folder of the built programs, `server` the name of one.
    Node(std::string programs, std::string folder, std::string server = "dr-server-headless");

    /// Starts the server with an empty data folder and returns when all its ports answer.
    void start();
    void stop() { server.reset(); }
    const Process& process() const { return *server; }

    std::string dataFolder() const { return folder + "/drData"; }
    /// Waits for the host to be started; the host ends when the connection is closed.
    Descriptor awaitHost() const { return acceptFrom(hostListener); }

  private:
    std::string programs;
    std::string folder;
    std::string serverName;
    Descriptor hostListener;
    std::unique_ptr<Process> server;
};

/// Becomes another program in a folder, with its standard output thrown away.
void runProgram(const std::string& program, const std::string& folder);

/// What a master sends first, for a scene of a host release such as "max2014".
std::string masterHandshake(const std::string& hostVersion);
/// The same, with its zero byte, up to the answer.
void shakeHands(const Descriptor& master, const std::string& hostVersion);

/// A job that has come to "DR is running".
struct Job {
    Descriptor master;
    Descriptor host;
    Descriptor plugin;
    double hostStartSeconds = 0;  // from the scene's last byte

    /// `sendScene` writes size and bytes; `onHostRuns` is called before the plug-in connects.
    Job(
        Node& node, const std::function<void(const Descriptor&)>& sendScene,
        const std::function<void()>& onHostRuns = [] {});
    /// Ends the job as a real one ends, the plug-in first.
    void end();
};

void sendSmallScene(const Descriptor& master);
/// The bytes of the announcement of an image.
std::string announcement();

}  // namespace Bench
