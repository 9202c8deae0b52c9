#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <functional>

#include "Commands.h"

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

/// Accepts a number in a range that is said in words.
CLI::Validator inRange(const std::string& words, const std::function<bool(double)>& isRight) {
    return CLI::Validator(
        [words, isRight](std::string& text) {
            double value = 0;
            const bool isNumber = CLI::detail::lexical_cast(text, value);
            return isNumber && isRight(value) ? std::string() : "must be " + words;
        },
        "");
}

CLI::Validator duration() {
    return inRange("a number of seconds above 0, at most 31536000 (a year)",
                   [](double value) { return value > 0 && value <= 31536000; });
}

CLI::Validator wholeNumber() {
    return inRange("a whole number from 1 to 1000000000", [](double value) {
        return value >= 1 && value <= 1e9 && value == std::floor(value);
    });
}

CLI::Validator size() {
    return inRange("a number from 0 to 1000000000",
                   [](double value) { return value >= 0 && value <= 1e9; });
}

/// What a script passes on from a variable that is not set.
CLI::Validator notEmpty() {
    return CLI::Validator(
        [](std::string& text) { return text.empty() ? "must not be empty" : std::string(); }, "");
}

CLI::Validator part() {
    return inRange("a number above 0, at most 1",
                   [](double value) { return value > 0 && value <= 1; });
}

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
        command->add_option("--host-version", discover.hostYear,
                            std::string(yearHelp) + " (default: all)");
        addAddresses(*command, discover.addresses);
        command->add_option("--seconds", discover.seconds, "how long to listen")
            ->check(duration())
            ->capture_default_str();
    }

    static CLI::Option* addAddresses(CLI::App& command, std::vector<std::string>& addresses) {
        return command
            .add_option("--address", addresses,
                        "where to ask, with commas between them: hosts, broadcast addresses, "
                        "networks as 10.1.2.0/24 (default: all networks of this machine)")
            ->delimiter(',')
            ->expected(1);
    }

    void addRender() {
        auto* command = add("render", "Render a scene on one DR server, or on many",
                            succeeding(renderScene, render));
        command->add_option("scene", render.scene, "scene file")->required();
        command->add_option("--host-version", render.hostYear, yearHelp)->required();
        addRenderNodes(*command);
        auto* frame =
            command->add_option("--frame", render.frame, "frame or frames")->capture_default_str();
        command
            ->add_option("--frames", render.frames,
                         "an animation, each frame by one node: 1-100,120,200-300x5")
            ->check(notEmpty())
            ->excludes(frame);
        command->add_option("--camera", render.camera, "camera (default: the scene's own)");
        addRenderGoals(*command);
        command->add_option("--output", render.output, "folder for the images and the result")
            ->capture_default_str();
        command
            ->add_option("--keep-mb", render.keptMegabytes,
                         "megabytes of images to keep beside the result")
            ->check(size())
            ->capture_default_str();
        addRenderTimes(*command);
        command->add_flag("--json", render.json, "print one JSON object per event");
    }

    void addRenderNodes(CLI::App& command) {
        auto* server = command.add_option(
            "--server", render.server,
            "one node, by name or address (default: the first that answers discovery)");
        auto* nodes = command.add_option("--nodes", render.nodes,
                                         "many nodes: all, or names with commas between them");
        server->check(notEmpty());
        nodes->check(notEmpty())->excludes(server);
        addAddresses(command, render.addresses)->needs(nodes);
    }

    void addRenderGoals(CLI::App& command) {
        command
            .add_option("--images", render.images, "end after that many images in all (default: 1)")
            ->check(wholeNumber());
        command.add_option("--seconds", render.seconds, "end after that time")->check(duration());
        command
            .add_option("--noise", render.noise,
                        "end when the mean's relative standard error is below this")
            ->check(part());
    }

    void addRenderTimes(CLI::App& command) {
        command
            .add_option("--patience", render.patience,
                        "seconds to wait for a server that is busy (default: 10); with --nodes, "
                        "while none of them takes part (default: 60)")
            ->check(duration());
        command
            .add_option("--silence", render.silence,
                        "seconds without an image after which a node is left out (default: ten "
                        "times the longest image, at least 300)")
            ->check(duration());
        command
            .add_option("--last-images", render.lastImages, "seconds that a node may take to end")
            ->check(duration())
            ->capture_default_str();
    }

    void addCheck() {
        auto* command = add("check", "Tell whether a node would do its job",
                            [this] { return checkServer(check); });
        auto* node = command->add_option_group("node");
        node->add_option("server", check.server, "name or address");
        node->add_option("--local", check.folder,
                         "look at the folder of this computer's server instead");
        node->require_option(1);
        command->add_option("--job", check.scene, "also render one image of this scene");
        command->add_option("--host-version", check.hostYear,
                            std::string(yearHelp) + " that the node must have");
        command->add_option("--job-seconds", check.jobSeconds, "how long the job may take")
            ->check(duration())
            ->capture_default_str();
        command->add_flag("--json", check.json, "print one JSON object at the end instead");
    }

    void addWatch() {
        auto* command = add("watch", "Show the nodes that answer, until Ctrl-C",
                            succeeding(watchServers, watch));
        addAddresses(*command, watch.addresses);
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
