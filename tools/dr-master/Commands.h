#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ExitStatus.h"

/// One function per command; texts are as typed, times in seconds. What ends a command early is
/// thrown as Failure.
namespace Orvane {

struct DiscoverOptions {
    std::optional<int> hostYear;         ///< all
    std::vector<std::string> addresses;  ///< all networks
    double seconds = 2;
};
void discoverServers(const DiscoverOptions& options);

struct RenderOptions {
    std::string scene;
    std::string server;                  ///< with no nodes either: the first that answers discovery
    std::string nodes;                   ///< "all", or names with commas between them
    std::vector<std::string> addresses;  ///< where to look for all nodes; empty: on all networks
    int hostYear = 0;
    std::string frame = "0";
    std::string frames;  ///< of an animation
    std::string camera;
    std::optional<int> images;
    std::optional<double> seconds;
    std::optional<double> noise;
    std::string output = "dr-images";
    double keptMegabytes = 10'000;
    std::optional<double> patience;
    std::optional<double> silence;
    double lastImages = 60;
    bool json = false;
};
void renderScene(const RenderOptions& options);

struct CheckOptions {
    std::string server;
    std::string folder;  ///< looked at instead of a server
    std::string scene;   ///< empty: no job
    std::optional<int> hostYear;
    double jobSeconds = 300;
    bool json = false;
};
ExitStatus checkServer(const CheckOptions& options);

struct WatchOptions {
    std::vector<std::string> addresses;  ///< all networks
    bool once = false;
};
void watchServers(const WatchOptions& options);

}  // namespace Orvane
