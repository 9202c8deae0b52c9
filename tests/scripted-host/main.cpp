// A stand-in for the host's command-line renderer. It writes down how it was started and then
// follows plan.txt, which lies beside it: one command per line, see Host::commands.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include "OrvaneCore/FileSystem.h"
#include "protocol/Framing.h"
#include "protocol/Ports.h"

using namespace Orvane;

namespace {

constexpr int patienceSeconds = 120;

[[noreturn]] void fail(const std::string& what) {
    std::cerr << "scripted host: " << what << std::endl;
    std::exit(99);
}

void check(bool good, const std::string& what) {
    if (!good)
        fail(what);
}

[[noreturn]] void hang() {
    while (true)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

bool exists(const std::string& path) {
    return FileSystem::isRegularFile(path);
}

void waitUntil(const std::string& what, const std::function<bool()>& condition) {
    constexpr std::chrono::milliseconds pollPeriod{20};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(patienceSeconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            fail("waited in vain for " + what);
        std::this_thread::sleep_for(pollPeriod);
    }
}

/// Bytes that no two sizes share.
std::string imageBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i + size) % 251);
    return bytes;
}

std::pair<std::string, std::size_t> nameAndSize(const std::string& argument) {
    const std::size_t blank = argument.rfind(' ');
    return {argument.substr(0, blank), std::stoul(argument.substr(blank + 1))};
}

/// Files appear whole to whoever waits for them.
void writeWhole(const std::string& path, const std::string& bytes) {
    const std::string temporary = path + ".tmp";
    std::ofstream(temporary, std::ios::binary) << bytes;
    std::remove(path.c_str());  // Windows renames to no name that is taken
    if (std::rename(temporary.c_str(), path.c_str()) != 0)
        fail("cannot write " + path);
}

/// By the system's hand, whatever handler a sanitizer has put in its way.
void crash() {
    std::signal(SIGSEGV, SIG_DFL);
    std::raise(SIGSEGV);
}

class Host {
  public:
    Host(int count, char** values) : arguments(values, values + count) {
        folder = arguments[0].substr(0, arguments[0].find_last_of("/\\") + 1);
        for (const std::string& argument : arguments) {
            const std::string output = "-o:", image = "/dr_out.png";
            if (argument.starts_with(output) && argument.ends_with(image))
                dataFolder =
                    argument.substr(output.size(), argument.size() - output.size() - image.size());
        }
        std::remove((folder + "heard.bin").c_str());
        writeWhole(folder + "record.txt", howItWasStarted());
    }

    void follow() {
        std::ifstream plan(folder + "plan.txt", std::ios::binary);
        for (std::string line; std::getline(plan, line);) {
            const std::size_t blank = line.find(' ');
            const auto command = commands.find(line.substr(0, blank));
            if (command == commands.end())
                fail("unknown command in plan: " + line);
            command->second(blank == line.npos ? "" : line.substr(blank + 1));
        }
    }

  private:
    std::string howItWasStarted() const {
        std::ostringstream record;
        for (std::size_t i = 1; i < arguments.size(); ++i)
            record << "argument " << arguments[i] << '\n';
        record << "folder " << toAnsi(FileSystem::workingDirectory()) << '\n';
        std::error_code none;  // no such folder on Windows
        for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd", none)) {
            const std::string target = std::filesystem::read_symlink(open, none).string();
            if (!target.starts_with("/proc/"))  // the listing itself
                record << "open " << open.path().filename().string() << ' ' << target << '\n';
        }
        return record.str();
    }

    void connect(const std::string&) {
        server = Connection::connect("127.0.0.1", loopbackPort, patienceSeconds);
        if (server == nullptr)
            fail("cannot connect");
    }
    void hear(const std::string&) {
        const ReceivedMessage message = readMessage(*server, patienceSeconds);
        if (!message.isWhole())
            fail("heard no whole message");
        std::ofstream(folder + "heard.bin", std::ios::binary | std::ios::app)
            << toAnsi(message.text) << '\0' << std::flush;
    }
    void say(const std::string& text) {
        if (writeMessage(*server, text, patienceSeconds) != 0)
            fail("cannot say " + text);
    }
    void dump(const std::string& argument) {
        const auto [name, size] = nameAndSize(argument);
        writeWhole(dataFolder + name, imageBytes(size));
    }
    /// Each gets the name as soon as the one before has lost it.
    void series(const std::string& argument) {
        const auto [nameAndCount, size] = nameAndSize(argument);
        const auto [name, count] = nameAndSize(nameAndCount);
        const std::string path = dataFolder + name, next = dataFolder + "next";
        for (std::size_t i = 0; i < count; ++i) {
            std::ofstream(next, std::ios::binary) << imageBytes(size + i);
            while (exists(path) || std::rename(next.c_str(), path.c_str()) != 0) {
            }
        }
    }
    void hold(const std::string& name) {
        held.open(dataFolder + name, std::ios::binary);
        check(held.is_open(), "cannot open " + name);
    }
    void begin(const std::string& argument) {
        const auto [name, size] = nameAndSize(argument);
        const std::string bytes = imageBytes(size);
        growing.open(dataFolder + name, std::ios::binary);
        growing << bytes.substr(0, size / 2) << std::flush;
        rest = bytes.substr(size / 2);
    }
    void complete(const std::string&) {
        growing << rest;
        growing.close();
    }
    void copyDump(const std::string& from, const std::string& name) {
        std::ifstream file(folder + from, std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        writeWhole(dataFolder + name, bytes.str());
    }
    bool isTold(std::chrono::milliseconds longest) {
        char first = 0;
        return server->peek(&first, 1, longest) > 0 || !server->isAlive();
    }
    void passes(const std::string& period) {
        const std::chrono::milliseconds pause(std::stoi(period));
        int dumped = 0;
        for (std::string name; exists(folder + (name = "pass" + std::to_string(dumped + 1)));) {
            if (isTold(pause))
                break;
            // First, so that no more than these are sent if this is killed in between.
            writeWhole(folder + "passes.txt", std::to_string(++dumped));
            copyDump(name, "dump-" + name + ".exr");
        }
        while (!isTold(std::chrono::seconds(1))) {
        }
    }
    void input(const std::string&) {
        check(std::cin.get() == EOF, "there is something on standard input");
    }
    void leave(const std::string&) {
        char byte = 0;
        server->setTimeout(patienceSeconds);
        while (server->read(&byte, 1) == 1) {
        }
    }

    using Command = std::function<void(const std::string& argument)>;
    Command method(void (Host::*member)(const std::string&)) {
        return [this, member](const std::string& argument) { (this->*member)(argument); };
    }

    std::vector<std::string> arguments;
    std::string folder;      // of this program, ends in a separator
    std::string dataFolder;  // where dumps go, ends in a separator
    std::unique_ptr<Connection> server;
    std::ofstream growing;
    std::string rest;
    std::ifstream held;
    const std::map<std::string, Command> commands = {
        {"connect", method(&Host::connect)},
        {"hear", method(&Host::hear)},    // one message, into heard.bin
        {"say", method(&Host::say)},      // TEXT and a zero
        {"leave", method(&Host::leave)},  // until the server ends the connection
        {"close", [this](const auto&) { server->close(); }},
        {"dump", method(&Host::dump)},      // NAME SIZE, renamed into place
        {"series", method(&Host::series)},  // NAME COUNT SIZE, SIZE + 1, ...
        {"hold", method(&Host::hold)},      // NAME: on Windows it cannot be deleted
        {"release", [this](const auto&) { held.close(); }},
        {"begin", method(&Host::begin)},  // NAME SIZE: half of it, under its final name
        {"complete", method(&Host::complete)},
        {"passes", method(&Host::passes)},  // MILLISECONDS: dumps the files pass1, pass2 and so on
                                            // at that pace, until the server says something
        {"gone",                            // NAME: a dump has been relayed
         [this](const auto& name) {
             waitUntil("relay of " + name, [&] { return !exists(dataFolder + name); });
         }},
        {"await",  // NAME: the test has put this file beside the plan
         [this](const auto& name) { waitUntil(name, [&] { return exists(folder + name); }); }},
        {"mark", [this](const auto& name) { writeWhole(folder + name, ""); }},
        {"print",
         [](const auto& text) { check((std::cout << text << std::endl).good(), "cannot print"); }},
        {"complain", [](const auto& text) { std::cerr << text << std::endl; }},
        {"input", method(&Host::input)},
        {"shell", [](const auto& line) { check(std::system(line.c_str()) == 0, line); }},
        {"hang", [](const auto&) { hang(); }},
        {"crash", [](const auto&) { crash(); }},
        {"exit", [](const auto& status) { std::exit(static_cast<int>(std::stoul(status))); }},
    };
};

}  // namespace

int main(int count, char** values) {
    // A process that a host has started and that outlives it.
    if (count == 2 && values[1] == std::string("linger"))
        hang();
    Host(count, values).follow();
    return 0;
}
