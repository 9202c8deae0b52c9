#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "OrvaneCore/String.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string_view bytesOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

inline void mustHold(bool condition) {
    if (!condition)
        std::abort();
}

/// A path under which the bytes can be opened, without a file system in the way.
inline Orvane::String fileOf(std::string_view bytes) {
    static const int file = memfd_create("input", 0);
    mustHold(ftruncate(file, 0) == 0 &&
             pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return Orvane::String("/proc/self/fd/" + std::to_string(file));
}
