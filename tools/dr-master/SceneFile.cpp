#include "SceneFile.h"

#include "ExitStatus.h"
#include "NativePath.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"

namespace Orvane {

std::unique_ptr<InputFile> openScene(const std::string& path) {
    std::error_code unknown;
    // A pipe or a device has no size to announce, and may keep its reader waiting.
    if (std::filesystem::exists(nativePath(path), unknown) && !FileSystem::isRegularFile(path))
        throw Failure(ExitStatus::UnreadableScene,
                      "The scene '" + printable(path) + "' is not a file that can be sent",
                      "A pipe's or device's bytes have to be written to a file first.");
    try {
        return std::make_unique<InputFile>(path);
    } catch (const Exception&) {
        throw Failure(ExitStatus::UnreadableScene, "The scene '" + printable(path) +
                                                       "' cannot be read, or is still being "
                                                       "written");
    }
}

}  // namespace Orvane
