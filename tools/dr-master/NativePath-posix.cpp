#include "NativePath.h"

namespace Orvane {

std::filesystem::path nativePath(const String& text) {
    return toAnsi(text);
}

String pathText(const std::filesystem::path& path) {
    return path.native();
}

}  // namespace Orvane
