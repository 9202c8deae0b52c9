#include "bench/Figures.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>

namespace Bench {

namespace {

std::string format(const char* pattern, double value, const char* unit) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), pattern, value, unit);
    return text.data();
}

std::FILE* rows = stdout;

}  // namespace

double quantile(std::vector<double> values, double part) {
    if (values.empty())
        return 0;
    const auto last = static_cast<double>(values.size() - 1);
    const auto at = static_cast<std::ptrdiff_t>(last * part + 0.5);
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

std::string rate(double bytesPerSecond) {
    return format("%.0f %s", bytesPerSecond / (1 << 20), "MiB/s");
}

std::string duration(double seconds) {
    if (seconds < 1e-6)
        return format("%.0f %s", seconds * 1e9, "ns");
    if (seconds < 1e-3)
        return format("%.3g %s", seconds * 1e6, "us");
    return seconds < 10 ? format("%.3g %s", seconds * 1e3, "ms") : format("%.3g %s", seconds, "s");
}

std::string number(double value) {
    return format("%.3g%s", value, "");
}

void print(const Row& row) {
    std::fprintf(rows, "%s\t%s\t%s\t%s\t%s\t%s\n", row.what.c_str(), row.figure.c_str(),
                 row.reference.c_str(), row.ratio.c_str(), row.goal.c_str(),
                 row.goal == "-" ? "-"
                 : row.met       ? "yes"
                                 : "NO");
    std::fflush(rows);
}

void silenceStandardOutput() {
    rows = fdopen(dup(STDOUT_FILENO), "w");
    if (rows == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        throw std::runtime_error("standard output cannot be redirected");
}

}  // namespace Bench
