#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace Bench {

/// Benchmarks are named "what|goal|product" and "what|goal|reference"; each pair becomes a row of
/// the table. The goal is the highest permitted ratio of the medians of their times.
class PairReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

  private:
    std::map<std::string, double> medians;  // seconds, by name
};

}  // namespace Bench
