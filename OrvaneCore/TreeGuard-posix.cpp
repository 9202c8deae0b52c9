#include "OrvaneCore/TreeGuard-posix.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "OrvaneCore/SpawnSettings-posix.h"

extern char** environ;

namespace Orvane {

namespace {

// All descriptors that the guard has, where any program expects its standard streams.
constexpr int nullDevice = 0;
constexpr int commandOutput = 1;
constexpr int serverLink = 2;
constexpr int firstOther = 3;

constexpr int lowPriorityNice = 10;

sigset_t allSignals() {
    sigset_t all;
    sigfillset(&all);
    return all;
}

/// Runs in a fork of a program with several threads: nothing here may allocate or take a lock.
class Guard {
  public:
    Guard(const SpawnSettings& spawnSettings, char* const* shellArguments)
        : settings(spawnSettings), arguments(shellArguments) {}

    [[noreturn]] void run(bool lowPriority, int guardLink, int outputEnd) {
        leaveTheServer(guardLink, outputEnd);
        if (lowPriority)
            setpriority(PRIO_PROCESS, 0, std::max(getpriority(PRIO_PROCESS, 0), lowPriorityNice));
        const int error = posix_spawn(&interpreter, "/bin/sh", &settings.actions,
                                      &settings.attributes, arguments, environ);
        if (error != 0)
            report({error, 0});
        // The pipe's end is to be seen when the last process of the command has ended.
        dup2(nullDevice, commandOutput);
        waitForTheEnd();
        endAll();
        _exit(EXIT_SUCCESS);
    }

  private:
    static void leaveTheServer(int guardLink, int outputEnd) {
        setsid();
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        takeOtherName();
        // Wakes ppoll, which an ignored signal would not.
        struct sigaction wake {};
        wake.sa_handler = [](int) {};
        sigaction(SIGCHLD, &wake, nullptr);
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(null, nullDevice);
        dup2(outputEnd, commandOutput);
        dup2(guardLink, serverLink);
        closefrom(firstOther);
    }

    /// Whoever kills the server by its name, command line included, is not to kill its guard.
    static void takeOtherName() {
        constexpr std::string_view name = "host-guard";
        prctl(PR_SET_NAME, name.data());
        const std::size_t room = std::strlen(program_invocation_name);
        std::memset(program_invocation_name, 0, room);
        std::memcpy(program_invocation_name, name.data(), std::min(room, name.size()));
    }

    void waitForTheEnd() {
        sigset_t others = allSignals();
        sigdelset(&others, SIGCHLD);
        pollfd server{serverLink, POLLIN, 0};
        while (takeEnded(WNOHANG) && ppoll(&server, 1, nullptr, &others) <= 0) {
        }
    }

    void endAll() {
        do {
            killChildren();
        } while (takeEnded(0));
    }

    /// Reaps what has ended; without WNOHANG it waits for one. False when no process is left.
    bool takeEnded(int flags) {
        int status = 0;
        pid_t ended = 0;
        do {
            ended = waitpid(-1, &status, flags);
            if (ended > 0 && ended == interpreter)
                report({0, status});
        } while (ended > 0 && flags == WNOHANG);
        return ended >= 0 || errno != ECHILD;
    }

    /// Children of a process that ends become the guard's own, so killing them again and again
    /// reaches every descendant.
    void killChildren() const {
        std::array<char, 4096> text{};
        const int file = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
        const ssize_t size = file < 0 ? 0 : read(file, text.data(), text.size());
        close(file);
        // A number that is cut off has no blank behind it, and is another process's.
        std::string_view list(text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        for (auto end = list.find(' '); end != list.npos; end = list.find(' ')) {
            kill(static_cast<pid_t>(std::strtol(list.data(), nullptr, 10)), SIGKILL);
            list.remove_prefix(end + 1);
        }
        // A kernel without that list leaves the group.
        if (size <= 0 && interpreter > 0)
            kill(-interpreter, SIGKILL);
    }

    static void report(GuardReport news) {
        // Not looked at: the server may be gone.
        const ssize_t written [[maybe_unused]] = write(serverLink, &news, sizeof news);
    }

    const SpawnSettings& settings;
    char* const* arguments;
    pid_t interpreter = 0;
};

}  // namespace

int startTreeGuard(const std::string& line, bool lowPriority, int guardLink, int outputEnd) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string command = line;
    const std::array<char*, 4> arguments = {shell.data(), option.data(), command.data(), nullptr};
    // In a session of its own, which no key in a terminal reaches.
    SpawnSettings settings(POSIX_SPAWN_SETSID);
    settings.giveStream(commandOutput, STDERR_FILENO);
    // The guard hears no signal, and must not run the server's handlers before it says so.
    const sigset_t all = allSignals();
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t guard = fork();
    if (guard == 0)
        Guard(settings, arguments.data()).run(lowPriority, guardLink, outputEnd);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return guard;
}

}  // namespace Orvane
