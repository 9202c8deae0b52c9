#pragma once

#include <memory>

namespace Orvane {

/// Keeps the machine from falling asleep for want of a user. Lives on one thread. Where the system
/// refuses, or knows nothing of it, nothing happens.
class KeepAwake {
  public:
    KeepAwake();
    ~KeepAwake();
    KeepAwake(const KeepAwake&) = delete;
    KeepAwake& operator=(const KeepAwake&) = delete;

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
