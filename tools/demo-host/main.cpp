#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "HostArguments.h"
#include "OrvaneCore/RandomSource.h"
#include "OrvaneCore/StandardStreams.h"
#include "OrvaneCore/Str.h"
#include "PluginLink.h"
#include "Rendering.h"

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds pace{50};

/// Renders pass after pass until the server wants no more.
class DemoHost {
  public:
    explicit DemoHost(const HostArguments& hostArguments)
        : arguments(hostArguments),
          folder(toAnsi(link.dumpFolder())),
          unfinished(folder / "rendering.exr") {}
    ~DemoHost() {
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        // POV-Ray's own note of how far an interrupted pass came.
        std::filesystem::remove(std::filesystem::path(unfinished).replace_extension("pov-state"),
                                ignored);
    }
    DemoHost(const DemoHost&) = delete;
    DemoHost& operator=(const DemoHost&) = delete;

    void run() {
        std::printf("demo host: connected; rendering %s, frame %d, with POV-Ray into %s\n",
                    arguments.scene.c_str(), frame(), folder.c_str());
        if (!arguments.camera.empty())
            std::printf("demo host: a POV-Ray scene has one camera; '%s' is not looked for\n",
                        arguments.camera.c_str());
        int pass = 1;
        while (renderPass(pass))
            ++pass;
        std::printf("demo host: the DR server ended the render after %d passes\n", pass - 1);
    }

  private:
    int frame() const { return Str::leadingInteger(arguments.frames); }

    /// False when the server ended it.
    bool renderPass(int pass) {
        Rendering rendering(folder, arguments.scene, unfinished.filename(), frame(),
                            firstPass + pass);
        while (rendering.isRunning())
            if (link.isEnded(pace))
                return false;
        if (!rendering.hasSucceeded())
            throw std::runtime_error("POV-Ray failed:\n" + rendering.messages());
        publish(pass);
        return true;
    }

    /// The server takes what it finds under a dump's name, so it gets that name complete.
    void publish(int pass) const {
        std::array<char, 32> name{};
        std::snprintf(name.data(), name.size(), "dump%04d.exr", pass);
        std::filesystem::rename(unfinished, folder / name.data());
        std::printf("demo host: pass %d is done: %s\n", pass, name.data());
    }

    const HostArguments& arguments;
    // Hosts that render the same picture side by side must not render the same passes.
    const int firstPass = static_cast<int>(randomNumber() % 1'000'000);
    PluginLink link;
    std::filesystem::path folder;
    std::filesystem::path unfinished;
};

void run(int argc, const char* const* argv) {
    const HostArguments arguments({argv + 1, argv + argc});
    DemoHost(arguments).run();
}

}  // namespace

}  // namespace Orvane

int main(int argc, char** argv) {
    const Orvane::StandardStreams streams;
    // Standard output is a file here, and somebody may be reading it meanwhile.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try {
        Orvane::run(argc, argv);
    } catch (const std::exception& error) {
        std::printf("demo host: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
