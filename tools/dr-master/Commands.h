#pragma once

#include <optional>
#include <string>

#include "ExitStatus.h"

/// One function per command; texts are as typed, times in seconds. What ends a command early is
/// thrown as Failure.
namespace Orvane {

struct DiscoverOptions {
    int hostVersion = 0;
    std::string address;
    double seconds = 2;
};
void discoverServers(const DiscoverOptions& options);

struct RenderOptions {
    std::string scene;
    std::string server;  ///< empty: the first that answers discovery
    int hostVersion = 0;
    std::string frame = "0";
    std::string camera;
    std::optional<int> images;
    std::optional<double> seconds;
    std::string output = "dr-images";
    double patience = 10;
};
void renderScene(const RenderOptions& options);

struct CheckOptions {
    std::string server;
    std::string scene;  ///< empty: no job
    std::optional<int> hostVersion;
    double jobSeconds = 300;
    bool json = false;
};
ExitStatus checkServer(const CheckOptions& options);

struct WatchOptions {
    std::string address;
    bool once = false;
};
void watchServers(const WatchOptions& options);

}  // namespace Orvane
