#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <functional>

#include "Commands.h"
#include "Discovery.h"

namespace Orvane {

namespace {

using Run = std::function<ExitStatus()>;

/// What a command without a status of its own answers when it did not throw.
template <typename Options>
Run succeeding(void (*command)(const Options&), Options& options) {
    return [command, &options] {
        command(options);
        return ExitStatus::Success;
    };
}

constexpr const char* yearHelp = "year of the 3ds Max release";

class CommandLine {
  public:
    CommandLine() {
        app.require_subcommand(1);
        // A path may begin with a slash on Windows too.
        app.allow_windows_style_options(false);
        app.set_version_flag("--version", ORVANE_VERSION);
        app.footer(exitStatusHelp);
        // Wide enough for the help of most options to begin beside their names.
        app.get_formatter()->column_width(30);
        addDiscover();
        addRender();
        addCheck();
        addWatch();
    }

    ExitStatus run(int argc, const char* const* argv) {
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return app.exit(error) == 0 ? ExitStatus::Success : ExitStatus::WrongUsage;
        }
        return chosen();
    }

  private:
    CLI::App* add(const char* name, const char* help, const Run& command) {
        CLI::App* const added = app.add_subcommand(name, help);
        added->callback([this, command] { chosen = command; });
        return added;
    }

    void addDiscover() {
        auto* command = add("discover", "List the DR servers that answer",
                            succeeding(discoverServers, discover));
        command->add_option("--host-version", discover.hostVersion, yearHelp)->required();
        command
            ->add_option("--address", discover.address,
                         "ask one host, or another network's "
                         "broadcast address")
            ->default_val(broadcastAddress);
        command->add_option("--seconds", discover.seconds, "how long to listen")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
    }

    void addRender() {
        auto* command =
            add("render", "Render a scene on a DR server", succeeding(renderScene, render));
        command->add_option("scene", render.scene, "scene file")->required();
        command->add_option("--server", render.server,
                            "name or address (default: the first that answers discovery)");
        command->add_option("--host-version", render.hostVersion, yearHelp)->required();
        command->add_option("--frame", render.frame, "frame or frames")->capture_default_str();
        command->add_option("--camera", render.camera, "camera (default: the scene's own)");
        auto* images = command->add_option("--images", render.images,
                                           "end the render after that many images (default: 1)");
        images->check(CLI::PositiveNumber);
        command->add_option("--seconds", render.seconds, "end the render after that time")
            ->check(CLI::PositiveNumber)
            ->excludes(images);
        command->add_option("--output", render.output, "folder for the images and the result")
            ->capture_default_str();
        command
            ->add_option("--patience", render.patience, "seconds to wait for a server that is busy")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
    }

    void addCheck() {
        auto* command = add("check", "Tell whether a node would do its job",
                            [this] { return checkServer(check); });
        command->add_option("server", check.server, "name or address")->required();
        command->add_option("--job", check.scene, "also render one image of this scene");
        command->add_option("--host-version", check.hostVersion,
                            std::string(yearHelp) + " that the node must have");
        command->add_option("--job-seconds", check.jobSeconds, "how long the job may take")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
        command->add_flag("--json", check.json, "print one JSON object at the end instead");
    }

    void addWatch() {
        auto* command = add("watch", "Show the nodes that answer, until Ctrl-C",
                            succeeding(watchServers, watch));
        command
            ->add_option("--address", watch.address,
                         "ask one host, or another network's "
                         "broadcast address")
            ->default_val(broadcastAddress);
        command->add_flag("--once", watch.once, "print the table once");
    }

    CLI::App app{"A render master for the command line.", "dr-master"};
    Run chosen;
    DiscoverOptions discover;
    RenderOptions render;
    CheckOptions check;
    WatchOptions watch;
};

}  // namespace

ExitStatus runCommandLine(int argc, const char* const* argv) {
    return CommandLine().run(argc, argv);
}

}  // namespace Orvane
