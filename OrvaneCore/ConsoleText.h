#pragma once

namespace Orvane {

/// Lets the console show the 8-bit text that the program writes: for its lifetime, on Windows, a
/// console takes output in the ANSI code page rather than in its own. One per process.
class ConsoleText {
  public:
    ConsoleText();
    ~ConsoleText();
    ConsoleText(const ConsoleText&) = delete;
    ConsoleText& operator=(const ConsoleText&) = delete;
};

}  // namespace Orvane
