#pragma once

#include <string>
#include <vector>

namespace Orvane {

/// The command line with which a DR server starts its host.
struct HostArguments {
    std::string scene;
    std::string frames;
    std::string camera;  ///< empty: the scene's own

    /// Throws std::runtime_error for anything that the server does not write.
    explicit HostArguments(const std::vector<std::string>& arguments);
};

}  // namespace Orvane
