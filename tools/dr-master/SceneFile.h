#pragma once

#include <memory>
#include <string>

#include "protocol/FileTransfer.h"

namespace Orvane {

/// Opens a scene for sending. Throws Failure (UnreadableScene).
std::unique_ptr<InputFile> openScene(const std::string& path);

/// What a job says of the host release that made its scene: three letters and the year.
String hostVersionText(int hostVersion);

}  // namespace Orvane
