#pragma once

#include <memory>
#include <string>

#include "protocol/FileTransfer.h"

namespace Orvane {

/// Opens a scene for sending. Throws Failure (UnreadableScene).
std::unique_ptr<InputFile> openScene(const std::string& path);

}  // namespace Orvane
