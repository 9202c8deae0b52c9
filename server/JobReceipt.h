#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "OrvaneCore/String.h"

namespace Orvane {

/// How a job ended. What each means is in docs/OPERATING.md.
enum class JobOutcome {
    Completed,
    NoImage,
    MasterLeft,
    TransferFailed,
    HostNotStarted,
    HostNeverCame,
    HostCrashed,
    Disk,
    Refused,
    Stopped,
    Interrupted
};
/// The words for them in receipts and figures. Never changed: programs read them.
struct JobOutcomeWord {
    JobOutcome outcome;
    const char* word;
};
extern const std::array<JobOutcomeWord, 11> jobOutcomeWords;
const char* wordOf(JobOutcome outcome);

/// What a job ended with, and the line of the log that says so.
struct JobEnding {
    JobOutcome outcome;
    String line;
};

/// The images that have been sent whole.
struct SentImages {
    using Time = std::chrono::system_clock::time_point;

    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    std::optional<Time> first;  ///< when it had been sent
    std::optional<Time> last;

    void add(std::uint64_t size);
};

/// What is written down of a job: filled while it goes on, by the master thread.
struct JobReceipt {
    using Time = std::chrono::system_clock::time_point;

    Time start = std::chrono::system_clock::now();
    std::optional<Time> end;
    std::optional<JobEnding> ending;
    String master;                  ///< address
    std::int32_t releaseAsked = 0;  ///< year; 0 if it could not be read
    std::int32_t releaseUsed = 0;   ///< 0: none
    String frames;
    String camera;
    std::optional<std::uint64_t> sceneBytes;
    struct {
        std::optional<double> download;
        std::optional<double> hostStart;  ///< from its launch until its plug-in had connected
        std::optional<double> render;     ///< until one side had left
        std::optional<double> hostEnd;
    } seconds;
    SentImages images;
    std::optional<std::uint32_t> hostExit;
    bool hostWasEnded = false;       ///< by this server, its time being over
    std::vector<String> hostOutput;  ///< the last lines, of a job without an image
    std::int32_t jobs = 1;           ///< this receipt stands for so many of the same ending

    /// One line, without a line feed. Valid UTF-8, whatever strangers have sent.
    std::string json() const;
};

/// The receipt of a job whose server did not live to write it, from what json() had given then.
std::string interruptedReceipt(const std::string& unfinished);

}  // namespace Orvane
