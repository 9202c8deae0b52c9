#include "OrvaneCore/StandardStreams.h"

#include <windows.h>

#include <array>

namespace Orvane {

StandardStreams::StandardStreams() {
    constexpr std::array<DWORD, 3> streams = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE,
                                              STD_ERROR_HANDLE};
    for (const DWORD which : streams) {
        const HANDLE stream = GetStdHandle(which);
        if (stream != nullptr && stream != INVALID_HANDLE_VALUE)
            continue;
        const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
        SetStdHandle(which, CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, share, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    }
}

}  // namespace Orvane
