#include "SceneFile.h"

#include "ExitStatus.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"

namespace Orvane {

std::unique_ptr<InputFile> openScene(const std::string& path) {
    try {
        if (!FileSystem::isFolder(path))
            return std::make_unique<InputFile>(path);
    } catch (const Exception&) {
    }
    throw Failure(ExitStatus::UnreadableScene,
                  "The scene '" + path + "' cannot be read, or is still being written");
}

}  // namespace Orvane
