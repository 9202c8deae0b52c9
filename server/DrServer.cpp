#include "server/DrServer.h"

#include "OrvaneCore/FileSystem.h"
#include "protocol/Ports.h"
#include "server/MasterLoop.h"
#include "server/PortInUse.h"
#include "server/WorkerStack.h"

namespace Orvane {

DrServer::DrServer(DrLog& target) : log(target) {
    maxInvoker.setup(workerStackBytes, "MY_MaxInvoker");
    serverThread.setup(workerStackBytes, "MY_ServerThread");
    makeDataFolder();
    config.load(config.dataFolder + "DrConfig-1.00.txt", log);
    discoveryReplier = std::make_unique<DiscoveryReplier>(log, config);
    loopbackListener = std::make_unique<LoopbackListener>(log);
    openDoor();
    serverThread.run([](void* self) { static_cast<DrServer*>(self)->serveMasters(); }, this);
}

DrServer::~DrServer() {
    requestStop();
}

void DrServer::makeDataFolder() {
    config.dataFolder = FileSystem::portableName(FileSystem::workingDirectory()) + "/drData/";
    if (toWide(toAnsi(config.dataFolder)) != config.dataFolder)
        log.log(String("No job can bring images: the plug-in cannot be told this folder, because "
                       "its name has characters outside the system's code page: ") +
                config.dataFolder);
    // Not looked at: it may well exist, and who writes into it will notice.
    FileSystem::makeFolder(config.dataFolder);
}

void DrServer::openDoor() {
    door = std::make_unique<Door>(masterPort, config.masters, log);
    if (door->isOk()) {
        // No other server works here now.
        jobBook.open();
        return;
    }
    showPortInUse("Cannot bind to the remote connection port (TCP ", masterPort);
    // Without this port no master can come: the loop ends at once and closes the program.
    stopRequested = true;
}

void DrServer::serveMasters() {
    const JobServices services{log,         config, maxInvoker, hostEnd, *loopbackListener,
                               relayWakeup, dumps,  hostSwitch, jobBook};
    MasterLoop(*door, services, stopRequested).run();
    log.requestClose();
}

void DrServer::requestStop() {
    stopRequested = true;
    discoveryReplier->requestStop();
    door->requestStop();
}

void DrServer::endHost() {
    if (hostSwitch.turnOff())
        log.log(HostSwitch::line);
}

bool DrServer::isBusy() const {
    return serverThread.isBusy() || discoveryReplier->isBusy() || door->isBusy() ||
           maxInvoker.isBusy();
}

}  // namespace Orvane
