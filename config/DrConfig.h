#pragma once

#include <array>
#include <atomic>
#include <chrono>

#include "OrvaneCore/DrLog.h"
#include "config/HostInstallation.h"
#include "config/MasterList.h"

namespace Orvane {

/// What the server is told by its machine and its user. Filled on the start-up thread before any
/// worker exists; afterwards only retainExr changes, and the rest is read by any thread.
class DrConfig {
  public:
    /// Keep a copy of each relayed image. Read afresh for every image, so a change takes effect
    /// with the next one; never written back to the file.
    std::atomic<bool> retainExr = false;
    /// Ends in "/". Paths add another one, which every platform takes as one.
    String dataFolder;
    /// Who else but programs on this machine may reach the server.
    MasterList masters;

    /// How long the host may take to end once nobody needs it; zero: for ever.
    std::chrono::seconds hostPatience{900};
    /// Whether the host runs below normal priority, for the sake of whoever works at the machine.
    bool hostHasLowPriority = false;

    /// Logs that have grown to so many bytes are moved aside; 0: never.
    std::uint64_t mostLogBytes = 0;

    /// Install folder of a release, empty when there is none or the year is out of range.
    const String& hostPath(std::int32_t year) const;

    /// Looks for installed hosts, then lets the file at `path` override what was found. Writes a
    /// default file when there is none; when that fails the user is told and `log` closes the
    /// program. A file that is there and cannot be read is left as it is.
    void load(const String& path, DrLog& log);

  private:
    void detectHosts(DrLog& log);
    void readFile(class TextFileReader& reader, DrLog& log);
    bool takeLine(const String& line);
    bool takeSetting(const String& line);
    bool takeRetainExr(const String& rest);
    bool takeMasters(const String& rest);
    void readMastersOnly(class TextFileReader& reader);
    void logMasters(DrLog& log) const;
    bool takeHostPatience(const String& rest);
    bool takeHostPriority(const String& rest);
    bool takeLogMegabytes(const String& rest);
    void createDefaultFile(const String& path, DrLog& log);
    std::int32_t writeDefaultFile(const String& path) const;

    std::array<String, lastHostYear - firstHostYear + 1> hostPaths;
};

}  // namespace Orvane
