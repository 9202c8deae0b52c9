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

/// The scene's name is not known yet; this is the longest.
bool isTooLong(const JobPlan& plan, const DrConfig& config) {
    const String scene = config.dataFolder + "/received_scene_4294967295.max";
    const String& host = config.hostPath(plan.hostYear);
    return !fitsInterpreter(launchCommand(host, scene, config, plan.request));
}

String refusalOf(const JobPlan& plan, const DrConfig& config) {
    if (plan.hostYear == 0)
        return String("Unsupported 3ds max version: ") + Str::toWString(plan.sceneYear);
    const String refusal = refusalOf(plan.request);
    if (!refusal.isEmpty())
        return String("Refused job: ") + refusal;
    if (isTooLong(plan, config))
        return "Refused job: its command line is longer than the command interpreter takes";
    return {};
}

}  // namespace

JobPlan planJob(const FrameInfo& request, const DrConfig& config) {
    JobPlan plan;
    plan.request = request;
    plan.sceneYear = sceneReleaseYear(request.hostVersion);
    plan.hostYear = hostFor(plan.sceneYear, config);
    plan.refusal = refusalOf(plan, config);
    return plan;
}

}  // namespace Orvane
