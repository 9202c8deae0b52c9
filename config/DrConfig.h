#pragma once

#include <array>
#include <atomic>

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

    /// Install folder of a release, empty when there is none or the year is out of range.
    const String& hostPath(std::int32_t year) const;

    /// Looks for installed hosts, then lets the file at `path` override what was found. Writes a
    /// default file when there is none; when that fails the user is told and `log` closes the
    /// program.
    void load(const String& path, DrLog& log);

  private:
    void detectHosts();
    void readFile(class TextFileReader& reader, DrLog& log);
    bool takeLine(const String& line);
    bool takeSetting(const String& line);
    bool takeRetainExr(const String& rest);
    bool takeMasters(const String& rest);
    void readMastersOnly(class TextFileReader& reader);
    void createDefaultFile(const String& path, DrLog& log);
    std::int32_t writeDefaultFile(const String& path) const;

    std::array<String, lastHostYear - firstHostYear + 1> hostPaths;
};

}  // namespace Orvane
