#include "OrvaneCore/misc/multithreading/NativeThread.h"

#include <process.h>
#include <windows.h>

#include <cerrno>
#include <system_error>

namespace Orvane {

struct NativeThread::Native {
    HANDLE handle = nullptr;
    unsigned id = 0;
    Entry entry = nullptr;
    void* argument = nullptr;

    static unsigned __stdcall run(void* self) noexcept {
        const auto* native = static_cast<Native*>(self);
        native->entry(native->argument);
        return 0;
    }
};

NativeThread::NativeThread() : native(new Native) {}
NativeThread::~NativeThread() = default;

void NativeThread::start(std::uint32_t stackSize, Entry entry, void* argument) {
    native->entry = entry;
    native->argument = argument;
    const auto created = _beginthreadex(nullptr, stackSize, Native::run, native.get(),
                                        STACK_SIZE_PARAM_IS_A_RESERVATION, &native->id);
    if (created == 0)
        throw std::system_error(errno, std::generic_category(), "cannot create a thread");
    native->handle = reinterpret_cast<HANDLE>(created);
}

namespace {

// The record and code by which Windows debuggers learn a thread's name (Microsoft's documentation,
// "How to: set a thread name in native code").
constexpr DWORD namingException = 0x406D1388;

struct ThreadNameRecord {
    DWORD type;
    LPCSTR name;
    DWORD threadId;
    DWORD flags;
};

LONG CALLBACK swallowNaming(EXCEPTION_POINTERS* pointers) {
    return pointers->ExceptionRecord->ExceptionCode == namingException
               ? EXCEPTION_CONTINUE_EXECUTION
               : EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void NativeThread::setName(const String& name) {
    constexpr DWORD recordType = 0x1000;
    const std::string narrowName = toAnsi(name);
    const ThreadNameRecord record{recordType, narrowName.c_str(), native->id, 0};
    ULONG_PTR words[sizeof(record) / sizeof(ULONG_PTR)];
    CopyMemory(words, &record, sizeof(record));
    // A vectored handler instead of __try: not every compiler has that.
    void* handler = AddVectoredExceptionHandler(1, swallowNaming);
    RaiseException(namingException, 0, sizeof(record) / sizeof(ULONG_PTR), words);
    RemoveVectoredExceptionHandler(handler);
}

void NativeThread::join() {
    WaitForSingleObject(native->handle, INFINITE);
    CloseHandle(native->handle);
}

void NativeThread::setLowPriority(bool low) {
    SetThreadPriority(GetCurrentThread(), low ? THREAD_PRIORITY_LOWEST : THREAD_PRIORITY_NORMAL);
}

}  // namespace Orvane
