#pragma once

#include <cstdio>

#include "OrvaneCore/String.h"

namespace Orvane {

/// The core's text-file writer. Text mode: a line feed becomes CR LF on Windows. One thread at a
/// time.
class LogFile {
  public:
    LogFile() = default;
    ~LogFile() { close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Appends to the file or replaces it; `share` lets others read and write it meanwhile,
    /// otherwise they may do neither. Throws the file exception on failure.
    void open(const String& newPath, bool append, bool share);
    /// Writes 8-bit text up to its zero and hands it to the system at once. Failures are not
    /// reported: there would be no better place to report them.
    void write(const char* ansi);
    void write(const String& text) { write(text.narrow()); }
    void close();

  private:
    std::FILE* stream = nullptr;
    String path;
};

}  // namespace Orvane
