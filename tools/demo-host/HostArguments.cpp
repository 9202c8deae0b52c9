#include "HostArguments.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace Orvane {

namespace {

constexpr std::string_view framesOption = "-frames:";
constexpr std::string_view cameraOption = "-camera:";
constexpr std::string_view outputOption = "-o:";
/// Accepted; they change nothing here.
constexpr std::array<std::string_view, 5> settings = {"-continueOnError", "-gammaCorrection:1",
                                                      "-rfw:1", "-sf", "-v:5"};

bool changesNothing(const std::string& option) {
    return option.starts_with(outputOption) ||
           std::find(settings.begin(), settings.end(), option) != settings.end();
}

}  // namespace

HostArguments::HostArguments(const std::vector<std::string>& arguments) {
    for (auto it = arguments.begin(); it != arguments.end(); ++it) {
        if (it == arguments.begin())
            scene = *it;
        else if (it->starts_with(framesOption))
            frames = it->substr(framesOption.size());
        else if (*it == cameraOption && it + 1 != arguments.end())
            camera = *++it;
        else if (!changesNothing(*it))
            throw std::runtime_error("unknown option " + *it);
    }
    if (scene.empty())
        throw std::runtime_error("no scene given");
}

}  // namespace Orvane
