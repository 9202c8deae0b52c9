#include "bench/PairReporter.h"

#include "bench/Figures.h"

namespace Bench {

namespace {

constexpr const char* productEnding = "|product";
constexpr const char* referenceEnding = "|reference";

}  // namespace

bool PairReporter::ReportContext(const Context& /*context*/) {
    return true;
}

void PairReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
            medians[run.run_name.function_name] =
                run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
    }
}

void PairReporter::Finalize() {
    for (const auto& [name, seconds] : medians) {
        if (!name.ends_with(productEnding))
            continue;
        const std::string stem = name.substr(0, name.rfind('|'));
        const auto reference = medians.find(stem + referenceEnding);
        if (reference == medians.end())
            continue;
        const std::string what = stem.substr(0, stem.rfind('|'));
        const std::string goal = stem.substr(stem.rfind('|') + 1);
        const double ratio = seconds / reference->second;
        print({what, duration(seconds), duration(reference->second), number(ratio), "<= " + goal,
               ratio <= std::stod(goal)});
    }
}

}  // namespace Bench
