#include "app/CommandLine.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Str.h"
#include "app/Console.h"
#include "server/Startup.h"

namespace Orvane {

namespace {

constexpr int wrongUsage = 2;

std::optional<int> enterFolder(const String& program, const String& folder);
std::optional<int> showVersion(const String& program, const String& value);
std::optional<int> showHelp(const String& program, const String& value);

std::optional<String> folderOfCommandLine;

constexpr std::array common = {
    Option{"--folder", "PATH", "work in that folder instead of the current one", enterFolder},
    Option{"--version", nullptr, "print the version and exit", showVersion},
    Option{"--help", nullptr, "print this text and exit", showHelp},
};

/// All that the program knows, in the order of the help.
std::vector<Option> options;

String usage(const String& program) {
    constexpr std::int32_t column = 22;
    String text = "Usage: " + program + " [OPTION...]\n\n";
    text += "Lends this computer's 3ds Max to render masters until it is told to stop.\n\n";
    for (const Option& option : options) {
        String left = String("  ") + option.name;
        if (option.value != nullptr)
            left += String(" ") + option.value;
        while (left.length() < column)
            left += " ";
        text += left + option.help + "\n";
    }
    return text;
}

std::optional<int> enterFolder(const String& program, const String& folder) {
    if (FileSystem::enterFolder(folder)) {
        folderOfCommandLine = FileSystem::workingDirectory();
        return std::nullopt;
    }
    showAnswer(program + ": cannot work in '" + folder +
                   "': there is no such folder, or this user may not enter it\n",
               Answer::Error);
    return EXIT_FAILURE;
}

std::optional<int> showVersion(const String& program, const String& /*value*/) {
    showAnswer(program + " " + versionText + "\n", Answer::Asked);
    return EXIT_SUCCESS;
}

std::optional<int> showHelp(const String& program, const String& /*value*/) {
    showAnswer(usage(program), Answer::Asked);
    return EXIT_SUCCESS;
}

int refuse(const String& program, const String& what) {
    showAnswer(program + ": " + what + "\n\n" + usage(program), Answer::Error);
    return wrongUsage;
}

/// An option as typed: its name, and the value if it was joined to it by "=".
struct Typed {
    explicit Typed(const String& argument) {
        const std::u16string_view text = argument.view();
        const std::size_t equals = text.find(u'=');
        name = String(text.substr(0, equals));
        if (equals != text.npos)
            value = String(text.substr(equals + 1));
    }

    String name;
    std::optional<String> value;
};

const Option* find(const String& name) {
    const auto found = std::find_if(options.begin(), options.end(), [&name](const Option& option) {
        return name == String(option.name);
    });
    return found == options.end() ? nullptr : &*found;
}

}  // namespace

std::optional<int> obeyCommandLine(const char* program, std::span<const Option> own,
                                   const std::vector<String>& arguments) {
    options.assign(own.begin(), own.end());
    options.insert(options.end(), common.begin(), common.end());
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        Typed typed(*argument);
        const Option* const option = find(typed.name);
        if (option == nullptr)
            return refuse(program, "unknown: '" + *argument + "'");
        if (option->value == nullptr && typed.value)
            return refuse(program, typed.name + " takes no value");
        if (option->value != nullptr && !typed.value) {
            if (++argument == arguments.end())
                return refuse(program, typed.name + " needs a value");
            typed.value = *argument;
        }
        if (const auto status = option->obey(program, typed.value.value_or(String())))
            return status;
    }
    return std::nullopt;
}

const std::optional<String>& chosenFolder() {
    return folderOfCommandLine;
}

}  // namespace Orvane
