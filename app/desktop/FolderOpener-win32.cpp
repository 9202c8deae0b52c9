#include <windows.h>

#include <shellapi.h>

#include "app/desktop/FolderOpener.h"

namespace Orvane {

void openFolder(const String& folder) {
    ShellExecuteW(nullptr, L"open", reinterpret_cast<const wchar_t*>(folder.terminated()), nullptr,
                  nullptr, SW_SHOWNORMAL);
}

}  // namespace Orvane
