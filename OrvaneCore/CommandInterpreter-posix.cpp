#include "OrvaneCore/CommandInterpreter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <system_error>
#include <utility>

#include "OrvaneCore/TreeGuard-posix.h"

namespace Orvane {

// One argument of a program, its zero included, is 128 KiB at most.
const std::size_t mostCommandCharacters = 128 * 1024 - 1;

const std::u16string_view specialWithinQuotes = u"\"`$\\";

String withinQuotes(const String& text) {
    const std::u16string_view units = text.view();
    String escaped;
    for (std::size_t i = 0; i < units.size(); ++i) {
        // A backslash is only itself unless it stands before one of the four, or the closing quote.
        const bool harmless = units[i] == u'\\' && i + 1 < units.size() && units[i + 1] != u'\n' &&
                              specialWithinQuotes.find(units[i + 1]) == units.npos;
        if (specialWithinQuotes.find(units[i]) != units.npos && !harmless)
            escaped.append(u"\\");
        escaped.append(units.substr(i, 1));
    }
    return escaped;
}

namespace {

using Clock = std::chrono::steady_clock;

// For what a program starts besides and leaves to end by itself.
constexpr std::chrono::seconds graceForTheRest{5};
// Beyond it is a process that cannot be killed, because the system holds it or it is another
// user's.
constexpr std::chrono::seconds longestKill{10};

String reasonOf(int error) {
    return std::generic_category().message(error);
}

std::uint32_t exitStatus(int waitStatus) {
    return static_cast<std::uint32_t>(WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus)
                                                            : 128 + WTERMSIG(waitStatus));
}

/// Two connected descriptors that no other program inherits.
class Pair {
  public:
    Pair() = default;
    ~Pair() {
        closeEnd(0);
        closeEnd(1);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void closeEnd(int number) {
        if (ends[number] >= 0)
            close(std::exchange(ends[number], -1));
    }

    int ends[2] = {-1, -1};
};

}  // namespace

/// The first end of each pair is ours, the second goes to the guard.
struct Command::Native {
    Pair link;
    Pair pipe;
    int pairError = 0;
    pid_t guard = -1;
    bool ending = false;  // what the interpreter left behind
    std::optional<Clock::time_point> deadline;

    Native() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, link.ends) != 0 ||
            pipe2(pipe.ends, O_CLOEXEC) != 0 || fcntl(pipe.ends[0], F_SETFL, O_NONBLOCK) != 0)
            pairError = errno;
    }

    /// Answers 0 or an errno.
    int start(const std::string& line, Priority priority) {
        if (pairError != 0)
            return pairError;
        guard = startTreeGuard(line, priority == Priority::Low, link.ends[1], pipe.ends[1]);
        const int error = guard < 0 ? errno : 0;
        link.closeEnd(1);
        pipe.closeEnd(1);
        return error;
    }

    /// Returns when no process is left, or none that could be ended.
    void follow(CommandResult& result, const Output& output) {
        // Should somebody kill the guard, that is all there is to tell.
        result.status = 128 + SIGKILL;
        bool guarded = true;
        while (guarded && (!isOverdue() || endTheRest(result))) {
            std::array<pollfd, 2> waited = {{{link.ends[0], POLLIN, 0}, {pipe.ends[0], POLLIN, 0}}};
            if (poll(waited.data(), waited.size(), millisecondsLeft()) <= 0)
                continue;
            if (waited[1].revents != 0)
                drain(output);
            guarded = waited[0].revents == 0 || takeReport(result);
        }
        drain(output);
        waitpid(guard, nullptr, guarded ? WNOHANG : 0);
    }

  private:
    bool isOverdue() const { return deadline && Clock::now() >= *deadline; }

    int millisecondsLeft() const {
        using std::chrono::milliseconds;
        return deadline ? static_cast<int>(
                              std::chrono::ceil<milliseconds>(*deadline - Clock::now()).count())
                        : -1;
    }

    /// False when that has been tried for long enough.
    bool endTheRest(CommandResult& result) {
        result.leftProcesses = true;
        shutdown(link.ends[0], SHUT_WR);
        deadline = Clock::now() + longestKill;
        return !std::exchange(ending, true);
    }

    /// False when the guard has ended, and with it all that it guarded.
    bool takeReport(CommandResult& result) {
        GuardReport news{};
        if (recv(link.ends[0], &news, sizeof news, 0) != sizeof news)
            return false;
        result.status = exitStatus(news.waitStatus);
        if (news.startError != 0)
            result.startFailure = reasonOf(news.startError);
        deadline = Clock::now() + graceForTheRest;
        return true;
    }

    void drain(const Output& output) {
        std::array<char, 65536> bytes;
        ssize_t size = 0;
        while ((size = read(pipe.ends[0], bytes.data(), bytes.size())) > 0)
            output({bytes.data(), static_cast<std::size_t>(size)});
        if (size == 0)
            pipe.closeEnd(0);
    }
};

bool CommandResult::hasCrashed() const {
    // As the shell tells of signals.
    constexpr std::uint32_t none = 128;
    constexpr std::uint32_t last = none + 64;
    return status > none && status <= last;
}

Command::Command(String commandLine, Priority processPriority, Output outputTarget)
    : line(std::move(commandLine)),
      priority(processPriority),
      output(std::move(outputTarget)),
      native(new Native) {}

Command::~Command() = default;

CommandResult Command::run() {
    CommandResult result;
    const int error = native->start(toAnsi(line), priority);
    if (error == 0)
        native->follow(result, output);
    else
        result.startFailure = reasonOf(error);
    return result;
}

void Command::end() {
    shutdown(native->link.ends[0], SHUT_WR);
}

}  // namespace Orvane
