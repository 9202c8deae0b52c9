#include "FolderLock.h"

#include <windows.h>

#include "OutputFolder.h"

namespace Orvane {

struct FolderLock::Native {
    HANDLE file = INVALID_HANDLE_VALUE;
};

FolderLock::FolderLock(const std::filesystem::path& folder) : native(std::make_unique<Native>()) {
    const auto path = folder / lockName;
    native->file = CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (native->file != INVALID_HANDLE_VALUE)
        return;
    // Access denied is also what a file gives that is about to go.
    throw GetLastError() == ERROR_SHARING_VIOLATION ? folderInUse(folder)
                                                    : unwritableFolder(folder);
}

FolderLock::~FolderLock() {
    CloseHandle(native->file);
}

}  // namespace Orvane
