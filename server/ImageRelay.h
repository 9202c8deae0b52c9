#pragma once

#include <vector>

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"
#include "protocol/Connection.h"

namespace Orvane {

/// Sends the plug-in's finished images to the master during one job. Used by the master thread.
class ImageRelay {
  public:
    /// All must outlive the relay.
    ImageRelay(Connection& masterConnection, const DrConfig& settings, DrLog& target)
        : master(masterConnection), config(settings), log(target) {}

    /// Announces, sends and deletes every finished dump there is, those included that come
    /// meanwhile. A failure ends the call and leaves the file. Never throws for a file's sake.
    void relayDumps();

    /// The same when the host has ended, for a master that is still there: images that it was still
    /// writing. With a little patience for those that cannot be opened yet.
    void relayLastDumps();

  private:
    bool relayDump(const String& path);
    bool announce();
    bool send(class InputFile& file);
    void retain(const String& path);
    void passOver(const String& path, const String& reason);

    Connection& master;
    const DrConfig& config;
    DrLog& log;
    std::vector<String> passedOver;  // could not be opened in this call
    std::vector<String> complained;  // of which the log knows
};

}  // namespace Orvane
