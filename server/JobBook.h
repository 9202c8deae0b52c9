#pragma once

#include <chrono>

#include "OrvaneCore/DrLog.h"
#include "config/DrConfig.h"
#include "server/JobReceipt.h"
#include "server/NodeState.h"

namespace Orvane {

/// Keeps the receipts of all jobs in the data folder's Jobs.jsonl, one line each, and the node's
/// figures up to date. A job that is under way has its unfinished receipt in a file of its own, so
/// that a server that was killed in the middle does not leave a job without one. Used by the master
/// thread, but for open(), which the start-up thread calls before there is one.
class JobBook {
  public:
    using Clock = std::chrono::steady_clock;

    /// All must outlive the book.
    JobBook(const DrConfig& settings, DrLog& target, NodeState& nodeState)
        : config(settings), log(target), state(nodeState) {}
    ~JobBook() { writeLeftOut(); }
    JobBook(const JobBook&) = delete;
    JobBook& operator=(const JobBook&) = delete;

    /// Writes the receipt of a job that an earlier server did not finish. For the one server that
    /// serves masters here.
    void open();
    /// The receipt of a job that begins.
    void begin(const JobReceipt& receipt);
    /// The same job has come further, which a reader should learn if nothing more follows.
    void note(const JobReceipt& receipt);
    /// Once for each job, begun or refused. `receipt` has an ending.
    void end(JobReceipt& receipt);
    /// When the log has all lines of a job that has ended: what it should have besides.
    void afterwards(const JobReceipt& receipt);
    /// A refused job in a flood of them: counted, and written down with others of its kind.
    void leaveOut(const JobReceipt& receipt);
    /// Writes down what is due by then, between jobs.
    void tick();
    /// When tick() has something to do.
    Clock::time_point due() const;

  private:
    bool append(const std::string& receipt) const;
    void logUnwritten() const;
    void writeLeftOut();
    void moveLogsAside();

    const DrConfig& config;
    DrLog& log;
    NodeState& state;
    bool unwritten = false;  // the last receipt
    std::optional<JobReceipt> leftOut;
    Clock::time_point leftOutSince;
};

}  // namespace Orvane
