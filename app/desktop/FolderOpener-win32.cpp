#include "app/desktop/FolderOpener.h"

#include <windows.h>

#include <shellapi.h>

namespace Orvane {

void openFolder(const String& folder) {
    ShellExecuteW(nullptr, L"open", reinterpret_cast<const wchar_t*>(folder.terminated()), nullptr,
                  nullptr, SW_SHOWNORMAL);
}

}  // namespace Orvane
