#pragma once

#include <vector>

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"

/// The images that the plug-in leaves in the data folder: files "dump*.exr", matched
/// case-sensitively at the end. Used by the master thread.
namespace Orvane {

/// The first one in the folder's own order that is not passed over; empty when there is none.
String findDumpFile(const DrConfig& config, const std::vector<String>& passedOver = {});

/// Deletes the file and returns when it is really gone, however long another program keeps it.
void removeDumpFile(const String& path, DrLog& log);

/// Deletes all, those included that come meanwhile.
void removeDumpFiles(const DrConfig& config, DrLog& log);

}  // namespace Orvane
