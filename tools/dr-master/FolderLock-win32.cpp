#include "FolderLock.h"

#include <windows.h>

#include <array>

#include "OutputFolder.h"

namespace Orvane {

struct FolderLock::Native {
    HANDLE file = INVALID_HANDLE_VALUE;
};

FolderLock::FolderLock(const std::filesystem::path& folder) : native(std::make_unique<Native>()) {
    const auto path = folder / lockName;
    native->file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                               OPEN_ALWAYS, FILE_ATTRIBUTE_HIDDEN, nullptr);
    if (native->file != INVALID_HANDLE_VALUE)
        return;
    // Access denied is also what a file gives that is about to go.
    throw GetLastError() == ERROR_SHARING_VIOLATION ? folderInUse(folder)
                                                    : unwritableFolder(folder);
}

FolderLock::~FolderLock() {
    FILE_DISPOSITION_INFO gone{TRUE};
    if (!staysThere)
        SetFileInformationByHandle(native->file, FileDispositionInfo, &gone, sizeof(gone));
    CloseHandle(native->file);
}

std::string FolderLock::text() const {
    std::string all;
    std::array<char, 4096> part{};
    DWORD got = 0;
    SetFilePointer(native->file, 0, nullptr, FILE_BEGIN);
    while (ReadFile(native->file, part.data(), static_cast<DWORD>(part.size()), &got, nullptr) &&
           got > 0)
        all.append(part.data(), got);
    return all;
}

bool FolderLock::append(const std::string& more) {
    const auto size = static_cast<DWORD>(more.size());
    DWORD written = 0;
    SetFilePointer(native->file, 0, nullptr, FILE_END);
    return WriteFile(native->file, more.data(), size, &written, nullptr) && written == size;
}

bool FolderLock::clear() {
    SetFilePointer(native->file, 0, nullptr, FILE_BEGIN);
    return SetEndOfFile(native->file) != 0;
}

}  // namespace Orvane
