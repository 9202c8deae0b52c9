#pragma once

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "config/DrConfig.h"
#include "server/DumpFolder.h"
#include "server/HostSwitch.h"
#include "server/JobBook.h"
#include "server/LoopbackListener.h"
#include "server/RelayWakeup.h"

namespace Orvane {

/// What jobs use of the server. All outlive every job.
struct JobServices {
    DrLog& log;
    const DrConfig& config;
    StandbyThread& maxInvoker;
    WaitSignal& hostEnd;  ///< set from the end of a host until the next one's start
    LoopbackListener& loopback;
    RelayWakeup& wakeup;
    DumpFolder& dumps;
    HostSwitch& hostSwitch;
    JobBook& book;
};

}  // namespace Orvane
