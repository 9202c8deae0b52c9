#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>

#include "config/DrConfig.h"
#include "server/JobReceipt.h"

namespace Orvane {

/// The node's figures in the data folder's orvane_dr.prom, as monitoring collects them from a
/// folder. Counts begin with the server. Any thread.
class NodeState {
  public:
    /// The configuration must outlive the state. Nothing is written before start().
    explicit NodeState(const DrConfig& settings) : config(settings) {}
    /// Writes that the server has ended in order.
    ~NodeState();
    NodeState(const NodeState&) = delete;
    NodeState& operator=(const NodeState&) = delete;

    void start();
    void jobBegins();
    void jobEnds(const JobReceipt& receipt);
    /// Counted now, written with the next change or refresh().
    void count(JobOutcome outcome, std::int64_t jobs);
    /// Writes what is counted and not yet written, and all of it if that was long ago: who reads
    /// the file takes an old one for a dead server. To be called every now and then.
    void refresh();

  private:
    void write();
    std::string text() const;

    using Clock = std::chrono::steady_clock;

    const DrConfig& config;
    std::mutex lock;  // of all that follows
    bool up = false;
    bool busy = false;
    bool changed = false;
    Clock::time_point written;
    std::map<JobOutcome, std::int64_t> jobs;
    std::uint64_t images = 0;
    std::uint64_t imageBytes = 0;
    double lastJobSeconds = 0;
    double lastJobEnd = 0;  // seconds since 1970
};

}  // namespace Orvane
