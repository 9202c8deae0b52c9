#pragma once

/// Where the benchmark's own programs find each other, on the loopback address.
namespace Bench {

constexpr unsigned short transferPort = 20100;
constexpr unsigned short referencePort = 20200;
constexpr unsigned short hostPort = 20201;
constexpr unsigned short launcherPort = 20202;

}  // namespace Bench
