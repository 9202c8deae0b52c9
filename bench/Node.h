#pragma once

#include <memory>
#include <string>

#include "OrvaneCore/HostReleases.h"
#include "bench/BareSocket.h"
#include "bench/Process.h"

namespace Bench {

/// A render node: a server in a folder of its own, with a host program that does what the benchmark
/// wants. The ports are fixed, so there is one at a time.
class Node {
  public:
    /// `programs` is the folder of the built programs, Windows' or this system's; `server` is one.
    Node(std::string programs, std::string folder, std::string server = "dr-server-headless");

    /// Starts the server with an empty data folder and returns when all its ports answer.
    void start();
    void stop() { server.reset(); }
    const Process& process() const { return *server; }

    std::string hostProgram() const { return folder + "/host/3dsmaxcmd.exe"; }
    std::string dataFolder() const { return folder + "/drData"; }
    /// Waits for the host to be started; the host ends when the connection is closed.
    Descriptor awaitHost() const;

  private:
    std::string programs;
    std::string folder;
    std::string serverName;
    Descriptor hostListener;
    std::unique_ptr<Process> server;
};

/// Runs the host's command line by itself, as the system's command interpreter does it.
class HostAlone {
  public:
    HostAlone(const std::string& programs, const std::string& folder);
    /// Seconds until the host runs. It ends when the connection is closed.
    double start(const Node& node, Descriptor& host) const;
    /// Seconds from there until the interpreter has ended.
    double end(Descriptor& host) const;

  private:
    Descriptor listener;
    Process launcher;
    Descriptor connection;
};

/// The file of a built program, whichever system it is for.
std::string programFile(const std::string& programs, const std::string& name);
/// Becomes another program in a folder, in Wine if it is Windows'. Its standard output is thrown
/// away.
void runProgram(const std::string& program, const std::string& folder,
                const std::string& argument = {});

/// The release that a node has, and one that it refuses.
constexpr std::int32_t hostYear = 2014;
constexpr std::int32_t missingHostYear = Orvane::firstHostYear - 1;

/// What a master sends first, for a scene of a host release.
std::string masterHandshake(std::int32_t year);
/// The same, with its zero byte, up to the answer.
void shakeHands(const Descriptor& master, std::int32_t year);

/// A job, from the master's connect on.
struct Job {
    Descriptor master;
    Descriptor host;
    Descriptor plugin;
    double hostStartSeconds = 0;  // from the connect

    /// Returns when the host runs; `sendScene` writes size and bytes.
    Job(const Node& node, const std::function<void(const Descriptor&)>& sendScene);
    /// Connects as the plug-in, which starts the relay.
    void goOnline();
    /// Ends the job as a real one ends, the plug-in first; returns when the server has.
    void end();
};

void sendSmallScene(const Descriptor& master);
/// The bytes of the announcement of an image.
std::string announcement();

}  // namespace Bench
