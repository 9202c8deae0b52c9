#pragma once

#include <atomic>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Shows the core's message boxes as windows, for the object's lifetime. Boxes of other threads are
/// shown by the main thread's event loop while their thread waits.
class MessageBoxWindows {
  public:
    MessageBoxWindows();
    ~MessageBoxWindows();
    MessageBoxWindows(const MessageBoxWindows&) = delete;
    MessageBoxWindows& operator=(const MessageBoxWindows&) = delete;

    /// Whether a box is shown or about to be.
    static bool isOpen() { return open > 0; }

  private:
    static std::atomic<int> open;
};

}  // namespace Orvane
