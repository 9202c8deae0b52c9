#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace Bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The value below which `part` of 1 of the values lie; 0.5 is the median.
double quantile(std::vector<double> values, double part);
inline double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

/// Three significant digits and a unit.
std::string rate(double bytesPerSecond);
std::string duration(double seconds);
std::string number(double value);

/// One row of the table that scripts/bench prints, as tab-separated text. A goal of "-" is none:
/// the row is there to compare with.
struct Row {
    std::string what;
    std::string figure;
    std::string reference;
    std::string ratio;
    std::string goal;
    bool met = false;
};
/// To standard output as it was when the program started: the log that is measured writes there
/// too.
void print(const Row& row);
/// What is written to standard output from now on is thrown away.
void silenceStandardOutput();

/// Figure over reference, measured in pairs so that a machine that is busy elsewhere slows both.
/// The ratio is the median of the pairs' ratios.
class Pairs {
  public:
    void add(double figure, double reference) {
        figures.push_back(figure);
        references.push_back(reference);
        ratios.push_back(figure / reference);
    }
    double figure() const { return median(figures); }
    double reference() const { return median(references); }
    double ratio() const { return median(ratios); }

  private:
    std::vector<double> figures;
    std::vector<double> references;
    std::vector<double> ratios;
};

}  // namespace Bench
