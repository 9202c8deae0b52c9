#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <utility>

#include "OrvaneCore/LogFile.h"
#include "OrvaneCore/String.h"

namespace Orvane {

/// Somebody who shows the log. Called by DrLog::flush only, on its thread.
class LogView {
  public:
    virtual ~LogView() = default;
    virtual void append(const String& batch) = 0;
};

/// The program's one log. Lines are stamped and collected by any thread and written in batches by
/// one, so that workers never wait for a window, a disk or a terminal line by line.
class DrLog {
  public:
    /// How often the owner's thread is to call flush().
    static constexpr int flushPeriodMs = 500;
    /// Characters that wait for a batch to be written. Only a disk or terminal that takes nothing
    /// for hours makes them so many; lines beyond are counted and left out.
    static constexpr std::int32_t mostPendingCharacters = 128 * 1024 * 1024;

    DrLog() = default;
    DrLog(const DrLog&) = delete;
    DrLog& operator=(const DrLog&) = delete;

    /// Appends one line: time stamp, three blanks, the text up to its first zero, line feed. Any
    /// thread. Throws only for lack of memory.
    void log(const String& text);

    /// Opens DrLog.txt at `path` for appending. Throws the file exception. Owner's thread.
    void openFile(const String& path);

    /// A file that somebody else moves or deletes is made again. It is moved aside when it has so
    /// many bytes; zero, as it is before this call, means never. Owner's thread.
    void limitFile(std::uint64_t bytes) { fileLimit = nextMove = bytes; }
    /// While true it is not, so that what belongs together stays in one file. Any thread.
    void keepFile(bool keep) { fileKept = keep; }

    /// Writes what is pending to the view, the file and standard output, in this order, then calls
    /// the close handler if closing was requested. Owner's thread.
    void flush();

    /// Asks for the program to close at the next flush. Any thread.
    void requestClose();
    /// Closes the program at once, for failures that leave nothing to run. Owner's thread.
    void closeNow();

    /// Called once there is something for flush() to do, by the thread that logged it. Set before
    /// other threads log.
    void setWakeHandler(std::function<void()> handler) { wakeHandler = std::move(handler); }

    /// Both are set by the owner before other threads log and are called on its thread, without any
    /// lock held. The view is not owned and may be null.
    void setView(LogView* newView) { view = newView; }
    void setCloseHandler(std::function<void()> handler) { closeHandler = std::move(handler); }

  private:
    bool append(const String& text);
    void wakeOwner() const;
    void takeBatch();
    void tendFile();
    /// Opens it anew, at its old path, where nothing is or what was there has been moved aside.
    void renewFile(std::uint64_t size);

    LogView* view = nullptr;
    std::function<void()> closeHandler;
    std::function<void()> wakeHandler;
    LogFile logFile;
    String filePath;
    std::uint64_t fileLimit = 0;
    std::uint64_t nextMove = 0;  // bytes; beyond the limit when the last try failed
    std::atomic<bool> fileKept = false;
    std::atomic<bool> closeRequested = false;

    String batch;  // being written; the owner's

    std::mutex logLock;
    String pendingText;        // guarded by logLock
    std::int32_t leftOut = 0;  // lines; guarded by logLock
};

}  // namespace Orvane
