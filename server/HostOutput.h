#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvaneCore/DrLog.h"

namespace Orvane {

/// The file into which a host's command line appends what the host says. It is MaxLog.txt in the
/// data folder; if that cannot be written, because another program keeps it for itself, the first
/// of MaxLog-2.txt to MaxLog-9.txt that can be, which the log is told.
String hostOutputPath(const String& dataFolder, DrLog& log);

/// The last lines that stand in a host's file behind its byte `from`, as they may stand in the log.
std::vector<String> lastLines(const String& path, std::int64_t from);

/// Keeps as evidence what the command interpreter and the host say besides: their standard error,
/// above all. It goes into the same file when they have ended, because a second writer's text would
/// not survive the first one's next line on Windows. One thread at a time.
class HostOutput {
  public:
    explicit HostOutput(String filePath) : path(std::move(filePath)) {}

    void take(std::string_view bytes);
    /// When nobody writes any more.
    void write();

  private:
    void dropEcho();

    String path;
    std::string kept;
};

}  // namespace Orvane
