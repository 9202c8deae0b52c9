#include <cstdio>
#include <exception>

#include "CommandLine.h"
#include "OrvaneCore/ConsoleText.h"
#include "OrvaneCore/StandardStreams.h"
#include "Terminal.h"

using Orvane::ExitStatus;

namespace {

ExitStatus report(ExitStatus status, const char* what, const std::string& remedy = {}) {
    std::fprintf(stderr, "dr-master: %s\n", what);
    if (!remedy.empty())
        std::fprintf(stderr, "           %s\n", remedy.c_str());
    return status;
}

ExitStatus run(int argc, const char* const* argv) {
    const Orvane::ConsoleText console;
    try {
        Orvane::Terminal::prepare();
        return Orvane::runCommandLine(argc, argv);
    } catch (const Orvane::Failure& failure) {
        return report(failure.status, failure.what(), failure.remedy);
    } catch (const std::exception& error) {
        return report(ExitStatus::Unexpected, error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Orvane::StandardStreams streams;
    return static_cast<int>(run(argc, argv));
}
