#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>

namespace Bench {

/// A child process, killed with the object. Started while this process has a single thread.
class Process {
  public:
    /// `work` runs in the child, which ends when it returns or throws.
    explicit Process(const std::function<void()>& work);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return child; }
    std::int64_t residentBytes() const;
    /// Of all threads.
    double processorSeconds() const;
    /// How often its threads have gone to sleep, which is how often they were woken.
    std::int64_t sleeps() const;

  private:
    pid_t child;
};

}  // namespace Bench
