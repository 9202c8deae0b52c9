#include "bench/Process.h"

#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/BareSocket.h"

namespace Bench {

namespace {

[[noreturn]] void runChild(const std::function<void()>& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        work();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "child: %s\n", failure.what());
        _exit(1);
    }
    _exit(0);
}

/// The number behind `label` in a file of "label: number" lines.
std::int64_t labelled(const std::filesystem::path& path, const std::string& label) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(label + ':'))
            return std::stoll(line.substr(label.size() + 1));
    }
    return 0;
}

template <class Read>
auto sumOverThreads(pid_t process, const Read& read) {
    decltype(read(std::filesystem::path())) sum = 0;
    const auto tasks = std::filesystem::path("/proc") / std::to_string(process) / "task";
    for (const auto& task : std::filesystem::directory_iterator(tasks))
        sum += read(task.path());
    return sum;
}

}  // namespace

Process::Process(const std::function<void()>& work) : child(checked(fork(), "fork")) {
    if (child == 0)
        runChild(work);
}

Process::~Process() {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

std::int64_t Process::residentBytes() const {
    return labelled("/proc/" + std::to_string(child) + "/status", "VmRSS") * 1024;
}

double Process::processorSeconds() const {
    const auto nanoseconds = sumOverThreads(child, [](const std::filesystem::path& task) {
        std::ifstream file(task / "schedstat");
        double value = 0;
        file >> value;
        return value;
    });
    return nanoseconds / 1e9;
}

std::int64_t Process::sleeps() const {
    return sumOverThreads(child, [](const std::filesystem::path& task) {
        return labelled(task / "status", "voluntary_ctxt_switches");
    });
}

}  // namespace Bench
