#pragma once

#include <map>
#include <string>

#include "protocol/Connection.h"
#include "server/JobReceipt.h"
#include "server/JobServices.h"

namespace Orvane {

class InputFile;

/// Sends the plug-in's finished images to the master during one job. Used by the master thread.
class ImageRelay {
  public:
    /// All must outlive the relay.
    ImageRelay(Connection& masterConnection, const JobServices& services)
        : master(masterConnection),
          config(services.config),
          log(services.log),
          dumps(services.dumps) {}

    /// Announces, sends and deletes every finished dump there is, those included that come
    /// meanwhile. A failure ends the call and leaves the file. Never throws for a file's sake.
    void relayDumps();

    /// The same when the host has ended, for a master that is still there: images that it was still
    /// writing. With a little patience for those that cannot be opened yet.
    void relayLastDumps();

    const SentImages& sent() const { return images; }
    /// Why an image did not reach the master; the first reason there was.
    const std::optional<JobEnding>& failure() const { return firstFailure; }

  private:
    enum class Outcome { Sent, LeftForLater, MasterLost };
    struct Result {
        Outcome outcome;
        String reason;  ///< of LeftForLater; none while somebody still writes the image
    };
    /// Images that the last pass had to leave, by path: whether the log knows of the reason.
    using Waiting = std::map<std::u16string, bool>;

    bool relayPass();
    Result relayDump(const String& path);
    bool announceAndSend(InputFile& file);
    bool announce();
    bool send(InputFile& file);
    void retain(const String& path);
    void fail(JobOutcome outcome, const String& line);
    void leaveForLater(const String& path, const String& reason, Waiting& left) const;

    Connection& master;
    const DrConfig& config;
    DrLog& log;
    DumpFolder& dumps;
    Waiting waiting;
    SentImages images;
    std::optional<JobEnding> firstFailure;
};

}  // namespace Orvane
