#include "server/Startup.h"

#include "OrvaneCore/MessageBox.h"
#include "OrvaneCore/Str.h"
#include "protocol/Ports.h"

namespace Orvane {

const char* const versionText = ORVANE_VERSION;

namespace {

const char* const buildDate = __DATE__;

}  // namespace

void openLogFile(DrLog& log, DrServer& server) {
    log.limitFile(server.configuration().mostLogBytes);
    log.openFile(server.configuration().dataFolder + "/DrLog.txt");
}

void showFolderNotWritable(DrServer& server) {
    showMessageBox(errorCaption, String("Cannot write in folder '") +
                                     server.configuration().dataFolder +
                                     "'. The server will now close. Try running it again as "
                                     "administrator.");
}

void logStartup(DrLog& log, DrServer& server) {
    log.log(String("Running Orvane DrServer build ") + buildDate + " on ports UDP" +
            Str::toWString(discoveryPort) + ", TCP" + Str::toWString(masterPort) +
            ", loopback TCP" + Str::toWString(loopbackPort));
    log.log("Available 3dsmax versions:");
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year) {
        const String& folder = server.configuration().hostPath(year);
        if (!folder.isEmpty())
            log.log(Str::toWString(year) + ": " + folder);
    }
}

}  // namespace Orvane
