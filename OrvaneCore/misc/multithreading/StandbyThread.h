#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "OrvaneCore/String.h"
#include "OrvaneCore/misc/multithreading/NativeThread.h"

namespace Orvane {

/// A reusable worker: created idle, the first job starts an operating-system thread that then
/// stays, parked between jobs, until the object is destroyed. Runs one job at a time and never
/// queues.
class StandbyThread {
  public:
    using Job = void (*)(void* argument);
    static constexpr std::uint32_t defaultStackSize = 0x500000;

    StandbyThread();
    /// Waits for a running job without limit, then ends the thread. Not to be called by the job.
    ~StandbyThread();
    StandbyThread(const StandbyThread&) = delete;
    StandbyThread& operator=(const StandbyThread&) = delete;

    /// Stack size in bytes and name for debuggers. Has an effect on the thread only before the
    /// first run().
    void setup(std::uint32_t newStackSize, const String& newName);

    /// Starts a job; waits for the previous one to end and returns when the worker has taken the
    /// new one. Any thread but the worker itself. Throws std::system_error if no thread can be
    /// made. A job must not throw: that ends the process, after a message box for a std::exception.
    void run(Job newJob, void* argument);

    /// True from run() until the job has returned. May be stale when the caller looks at it.
    bool isBusy() const { return job.load() != nullptr; }

    /// Returns when no job runs. A job's effects are visible to the caller afterwards.
    void waitUntilParked();
    /// The same for `longest` at most; true when no job runs.
    [[nodiscard]] bool waitUntilParked(std::chrono::milliseconds longest);

    /// The text of the last fatal message of any StandbyThread.
    static String lastFatalMessage();

  private:
    static void enter(void* self);
    void serveJobs();
    void runJob();
    void startThread();
    void waitForAcknowledgement() const;

    // The worker holds jobLock except while it waits on wake; a job runs with it held.
    std::condition_variable_any wake;
    std::recursive_mutex jobLock;
    std::atomic<std::uint64_t> acknowledged = 0;
    NativeThread thread;
    std::atomic<Job> job = nullptr;   // written with jobLock held
    void* jobArgument = nullptr;      // guarded by jobLock
    bool lowPriority = false;         // guarded by jobLock
    bool quit = false;                // guarded by jobLock
    bool appliedLowPriority = false;  // the worker's own
    bool started = false;             // guarded by controlLock
    std::uint32_t stackSize = defaultStackSize;
    String name;
    std::mutex idleLock;  // with idle: tells timed waiters that a job has ended
    std::condition_variable idle;
    std::mutex controlLock;  // serialises run() and the destructor; taken before jobLock
};

}  // namespace Orvane
