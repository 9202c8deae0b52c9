#include "NativePath.h"

namespace Orvane {

// The standard library would take 8-bit text for UTF-8; both sides hold UTF-16.
std::filesystem::path nativePath(const String& text) {
    return std::u16string(text.view());
}

String pathText(const std::filesystem::path& path) {
    return String(path.u16string());
}

}  // namespace Orvane
