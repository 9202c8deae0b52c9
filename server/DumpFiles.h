#pragma once

#include <vector>

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"

/// The images that the plug-in leaves in the data folder: files "dump*.exr", matched
/// case-sensitively at the end. Used by the master thread.
namespace Orvane {

/// The paths of all that are there now, in the folder's own order.
std::vector<String> listDumpFiles(const DrConfig& config);
/// The first of them; empty when there is none.
String findDumpFile(const DrConfig& config);

/// Deletes the file and returns when it is really gone, however long another program keeps it.
void removeDumpFile(const String& path, DrLog& log);

/// Deletes all, those included that come meanwhile.
void removeDumpFiles(const DrConfig& config, DrLog& log);

}  // namespace Orvane
