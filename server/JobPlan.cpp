#include "server/JobPlan.h"

#include "OrvaneCore/HostReleases.h"
#include "server/LaunchCommand.h"

namespace Orvane {

namespace {

/// The same release or the next newer one that is installed, because an older one cannot open the
/// scene; 0 without one.
std::int32_t hostFor(std::int32_t sceneYear, const DrConfig& config) {
    for (std::int32_t year = sceneYear; isHostYear(year); ++year) {
        if (!config.hostPath(year).isEmpty())
            return year;
    }
    return 0;
}

String refusalOf(const JobPlan& plan) {
    if (plan.hostYear == 0)
        return String("Unsupported 3ds max version: ") + Str::toWString(plan.sceneYear);
    const String refusal = refusalOf(plan.request);
    return refusal.isEmpty() ? refusal : String("Refused job: ") + refusal;
}

}  // namespace

JobPlan planJob(const FrameInfo& request, const DrConfig& config) {
    JobPlan plan;
    plan.request = request;
    plan.sceneYear = sceneReleaseYear(request.hostVersion);
    plan.hostYear = hostFor(plan.sceneYear, config);
    plan.refusal = refusalOf(plan);
    return plan;
}

}  // namespace Orvane
