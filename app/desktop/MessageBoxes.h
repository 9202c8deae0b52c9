#pragma once

#include <atomic>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Shows the core's message boxes as windows, for the object's lifetime. Boxes of other threads are
/// shown by the main thread's event loop while their thread waits.
class MessageBoxes {
  public:
    MessageBoxes();
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    /// Whether a box is shown or about to be.
    static bool isOpen() { return open > 0; }

  private:
    static std::atomic<int> open;
};

}  // namespace Orvane
