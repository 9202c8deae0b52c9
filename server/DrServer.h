#pragma once

#include <atomic>
#include <memory>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/DrConfig.h"
#include "server/DiscoveryReplier.h"
#include "server/Door.h"
#include "server/DumpFolder.h"
#include "server/HostSwitch.h"
#include "server/JobBook.h"
#include "server/LoopbackListener.h"
#include "server/RelayWakeup.h"

namespace Orvane {

/// The render server: starts with its construction and lives until it is destroyed, both on the
/// program's main thread. Failures to bind are shown in message boxes and never thrown.
class DrServer {
  public:
    /// `target` must outlive the server.
    explicit DrServer(DrLog& target);
    /// Waits for a running job, and for the host that it started, without limit.
    ~DrServer();
    DrServer(const DrServer&) = delete;
    DrServer& operator=(const DrServer&) = delete;

    DrConfig& configuration() { return config; }

    /// Begins what the destructor does, for a main thread that has windows to keep alive meanwhile:
    /// once isBusy() is false the destructor returns at once.
    void requestStop();
    bool isBusy() const;
    /// For a program that has only seconds left: ends a host that runs, and any that starts later,
    /// which lets the job come to its end.
    void endHost();

    static constexpr std::chrono::seconds refreshPeriod{45};
    /// Keeps the node's figures fresh. To be called at least so often, by any thread.
    void refreshState() { state.refresh(); }

  private:
    void makeDataFolder();
    void openDoor();
    void serveMasters();

    // Each is used by those behind it, and goes after them.
    DrLog& log;
    std::atomic<bool> stopRequested = false;
    DrConfig config;
    NodeState state{config};
    JobBook jobBook{config, log, state};
    HostSwitch hostSwitch;
    DumpFolder dumps{config, log, stopRequested};
    RelayWakeup relayWakeup{log};
    WaitSignal hostEnd;
    StandbyThread maxInvoker;
    std::unique_ptr<Door> door;
    std::unique_ptr<LoopbackListener> loopbackListener;
    std::unique_ptr<DiscoveryReplier> discoveryReplier;
    StandbyThread serverThread;
};

}  // namespace Orvane
