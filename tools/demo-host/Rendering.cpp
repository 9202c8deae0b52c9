#include "Rendering.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace Orvane {

namespace {

/// Where the process works and what becomes of its output.
class SpawnActions {
  public:
    SpawnActions(const std::filesystem::path& folder, const std::filesystem::path& messageFile) {
        constexpr mode_t readableByAll = 0644;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, messageFile.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, readableByAll);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    posix_spawn_file_actions_t actions{};
};

/// A small picture without display and smoothing edges: passes are smoothed by their mean. -GA
/// turns off all reports, +GF brings the fatal ones back.
std::vector<std::string> commandLine(const std::string& scene, const std::string& output, int frame,
                                     int pass) {
    return {"povray",
            "+I\"" + scene + "\"",
            "+O" + output,
            "+FE",
            "+W320",
            "+H240",
            "-D",
            "-A",
            "-GA",
            "+GF",
            "+K" + std::to_string(frame),
            "Declare=Pass=" + std::to_string(pass)};
}

pid_t spawn(std::vector<std::string> arguments, const SpawnActions& settings) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_t process = 0;
    const int error = posix_spawnp(&process, pointers.front(), &settings.actions, nullptr,
                                   pointers.data(), environ);
    if (error != 0)
        throw std::runtime_error(std::string("povray cannot be started: ") + std::strerror(error));
    return process;
}

}  // namespace

Rendering::Rendering(const std::filesystem::path& folder, const std::string& scene,
                     const std::string& output, int frame, int pass)
    : messageFile(folder / "povray-messages.txt"),
      process(spawn(commandLine(scene, output, frame, pass), SpawnActions(folder, messageFile))) {}

Rendering::~Rendering() {
    if (isRunning()) {
        kill(process, SIGKILL);
        waitpid(process, &status, 0);
    }
    std::error_code ignored;
    std::filesystem::remove(messageFile, ignored);
}

bool Rendering::isRunning() {
    if (!ended)
        ended = waitpid(process, &status, WNOHANG) == process;
    return !ended;
}

bool Rendering::hasSucceeded() const {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string Rendering::messages() const {
    std::ostringstream text;
    text << std::ifstream(messageFile).rdbuf();
    return text.str();
}

}  // namespace Orvane
