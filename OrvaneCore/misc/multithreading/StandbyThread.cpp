#include "OrvaneCore/misc/multithreading/StandbyThread.h"

#include <exception>
#include <thread>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/MessageBox.h"

namespace Orvane {

namespace {

std::mutex fatalMessageLock;
String fatalMessage;

[[noreturn]] void reportFatal(const std::exception& failure) {
    const String text(failure.what());
    {
        const std::lock_guard<std::mutex> hold(fatalMessageLock);
        fatalMessage = text;
    }
    showMessageBox("WTF", text);
    // Nobody catches this: a failed job takes the program down.
    throw Exception("STOP@..\\OrvaneCore\\misc\\multithreading\\StandbyThread(49)",
                    fatalJobErrorCode);
}

}  // namespace

StandbyThread::StandbyThread() : name("_ORVANE_standbyThread") {}

StandbyThread::~StandbyThread() {
    waitUntilParked();
    const std::lock_guard<std::mutex> control(controlLock);
    if (!started)
        return;
    {
        const std::lock_guard<std::recursive_mutex> hold(jobLock);
        quit = true;
    }
    wake.notify_all();
    thread.join();
}

void StandbyThread::setup(std::uint32_t newStackSize, const String& newName) {
    stackSize = newStackSize;
    name = newName;
}

void StandbyThread::waitUntilParked() {
    const std::lock_guard<std::recursive_mutex> parked(jobLock);
}

bool StandbyThread::waitUntilParked(std::chrono::milliseconds longest) {
    {
        std::unique_lock<std::mutex> hold(idleLock);
        if (!idle.wait_for(hold, longest, [this] { return !isBusy(); }))
            return false;
    }
    waitUntilParked();
    return true;
}

void StandbyThread::waitForAcknowledgement() const {
    // The other side needs microseconds; yielding keeps a single-core machine moving.
    while (acknowledged.load() == 0)
        std::this_thread::yield();
}

void StandbyThread::startThread() {
    acknowledged = 0;
    thread.start(stackSize, enter, this);
    waitForAcknowledgement();  // the worker holds jobLock from here on ...
    waitUntilParked();         // ... until it waits for its first job
    thread.setName(name);
    started = true;
}

void StandbyThread::run(Job newJob, void* argument) {
    const std::lock_guard<std::mutex> control(controlLock);
    if (!started)
        startThread();
    {
        const std::lock_guard<std::recursive_mutex> parked(jobLock);
        lowPriority = false;
        jobArgument = argument;
        acknowledged = 0;
        job = newJob;
    }
    wake.notify_all();
    waitForAcknowledgement();
}

void StandbyThread::enter(void* self) {
    try {
        static_cast<StandbyThread*>(self)->serveJobs();
    } catch (const std::exception& failure) {
        reportFatal(failure);
    }
}

void StandbyThread::serveJobs() {
    std::unique_lock<std::recursive_mutex> hold(jobLock);
    acknowledged = 1;
    for (;;) {
        // The condition guards against wake-ups without a cause.
        wake.wait(hold, [this] { return quit || job.load() != nullptr; });
        acknowledged = 1;
        if (quit)
            return;
        runJob();
    }
}

void StandbyThread::runJob() {
    if (lowPriority != appliedLowPriority) {
        NativeThread::setLowPriority(lowPriority);
        appliedLowPriority = lowPriority;
    }
    job.load()(jobArgument);
    jobArgument = nullptr;
    {
        const std::lock_guard<std::mutex> hold(idleLock);
        job = nullptr;
    }
    idle.notify_all();
}

String StandbyThread::lastFatalMessage() {
    const std::lock_guard<std::mutex> hold(fatalMessageLock);
    return fatalMessage;
}

}  // namespace Orvane
