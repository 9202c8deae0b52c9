#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "Image.h"

namespace Orvane {

/// Buffers for as many images as the processor decodes at once: how many nodes there are makes no
/// difference to the memory that their images take. For any thread.
class DecodeSlots {
  public:
    DecodeSlots();

    /// Calls `use` with a buffer, as soon as one is free.
    template <typename Use>
    void with(const Use& use) {
        ReceivedImage buffer = borrow();
        try {
            use(buffer);
        } catch (...) {
            giveBack(std::move(buffer));
            throw;
        }
        giveBack(std::move(buffer));
    }

  private:
    ReceivedImage borrow();
    void giveBack(ReceivedImage buffer);

    std::mutex mutex;  // guards the others
    std::condition_variable freed;
    std::vector<ReceivedImage> buffers;
};

}  // namespace Orvane
