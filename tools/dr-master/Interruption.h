#pragma once

#include <memory>

namespace Orvane {

/// Ctrl-C and its like (SIGTERM, SIGHUP, a console window that is closed) become a question that a
/// command asks, for as long as the object lives. The second one ends the process at once, without
/// its temporary files. One object at a time, made on the main thread before any other thread.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// For any thread.
    static bool hasCome();
    /// What each platform's part calls for each signal, on a thread of its own.
    static void come();

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
