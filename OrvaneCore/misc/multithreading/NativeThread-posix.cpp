#include "OrvaneCore/misc/multithreading/NativeThread.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Orvane {

struct NativeThread::Native {
    pthread_t handle{};
    Entry entry = nullptr;
    void* argument = nullptr;

    // noexcept: an exception that leaves the entry ends the process here, with the stack in view.
    static void* run(void* self) noexcept {
        const auto* native = static_cast<Native*>(self);
        native->entry(native->argument);
        return nullptr;
    }
};

NativeThread::NativeThread() : native(new Native) {}
NativeThread::~NativeThread() = default;

void NativeThread::start(std::uint32_t stackSize, Entry entry, void* argument) {
    native->entry = entry;
    native->argument = argument;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackSize);
    const int error = pthread_create(&native->handle, &attributes, Native::run, native.get());
    pthread_attr_destroy(&attributes);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot create a thread");
}

void NativeThread::setName(const String& name) {
    constexpr std::size_t longest = 15;  // TASK_COMM_LEN less the terminator
    pthread_setname_np(native->handle, toAnsi(name).substr(0, longest).c_str());
}

void NativeThread::join() {
    pthread_join(native->handle, nullptr);
}

void NativeThread::setLowPriority(bool low) {
    // On Linux the nice value belongs to the thread. Going back up may be refused to ordinary
    // users.
    constexpr int lowest = 19;
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), low ? lowest : 0);
}

}  // namespace Orvane
