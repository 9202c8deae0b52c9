#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "OrvaneCore/String.h"

namespace Orvane {

/// How a command line ended.
struct CommandResult {
    /// The system's reason why the command interpreter could not be started; empty if it was.
    String startFailure;
    /// The interpreter's exit status, which is that of the last program it ran. On Linux 128 and
    /// the signal's number for one that was ended by a signal.
    std::uint32_t status = 0;
    /// Processes were still there some seconds after the interpreter had ended, and were ended.
    bool leftProcesses = false;

    bool hasStarted() const { return startFailure.isEmpty(); }
    /// The status says that the last program was ended by a signal, or by the system for a fault.
    bool hasCrashed() const;
};

/// One line for the system's command interpreter (cmd.exe or /bin/sh), and every process that comes
/// of it. They have no window, no terminal and no input; they inherit the folder, the environment
/// and nothing else. They are ended with this program, however it ends.
class Command {
  public:
    /// Gets what the processes say on standard output and error, piece by piece.
    using Output = std::function<void(std::string_view bytes)>;
    enum class Priority { Normal, Low };

    Command(String commandLine, Priority processPriority, Output outputTarget);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Runs the line and returns when the interpreter has ended, and all else that it started or a
    /// few seconds later. Once; calls the output target on the calling thread.
    [[nodiscard]] CommandResult run();
    /// Ends all processes of the command, which lets run() return. Any thread, at any time.
    void end();

  private:
    struct Native;

    String line;
    Priority priority;
    Output output;
    std::unique_ptr<Native> native;
};

/// The longest line that the interpreter takes, in bytes of the narrow text.
extern const std::size_t mostCommandCharacters;

/// The text as it is written within double quotes of a command line, so that the programs see it as
/// it is. Only characters that the interpreter acts upon even there are changed.
String withinQuotes(const String& text);

/// The characters that withinQuotes() has to deal with, and the quote.
extern const std::u16string_view specialWithinQuotes;

}  // namespace Orvane
