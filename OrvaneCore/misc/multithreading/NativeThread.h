#pragma once

#include <cstdint>
#include <memory>

#include "OrvaneCore/String.h"

namespace Orvane {

/// One operating-system thread with a stack size of the caller's choice, which std::thread does not
/// offer.
class NativeThread {
  public:
    using Entry = void (*)(void* argument);

    NativeThread();
    /// The thread must have been joined.
    ~NativeThread();
    NativeThread(const NativeThread&) = delete;
    NativeThread& operator=(const NativeThread&) = delete;

    /// `stackSize` in bytes. Throws std::system_error when the system refuses. Called once.
    void start(std::uint32_t stackSize, Entry entry, void* argument);
    /// For debuggers and process viewers; Linux shows the first 15 characters.
    void setName(const String& name);
    /// Waits without limit.
    void join();

    /// The lowest or the normal priority for the calling thread.
    static void setLowPriority(bool low);

  private:
    struct Native;
    std::unique_ptr<Native> native;
};

}  // namespace Orvane
