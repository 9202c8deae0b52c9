#pragma once

#include "server/DrServer.h"

namespace Orvane {

/// The version text of the program.
extern const char* const versionText;

/// Opens DrLog.txt in the data folder. Throws the file exception.
void openLogFile(DrLog& log, DrServer& server);
/// What the user is told when that, or anything after it, fails at start.
void showFolderNotWritable(DrServer& server);
/// Logs the build, the ports and the hosts.
void logStartup(DrLog& log, DrServer& server);

}  // namespace Orvane
