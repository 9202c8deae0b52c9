#include <cstdio>

#include "Commands.h"
#include "Discovery.h"
#include "ImageCollection.h"
#include "JobGoal.h"
#include "JobSession.h"
#include "NativePath.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/HostReleases.h"
#include "SceneFile.h"

namespace Orvane {

namespace {

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

String serverOf(const RenderOptions& options) {
    if (!options.server.empty())
        return options.server;
    constexpr std::chrono::seconds window{3};
    Discovery search(broadcastAddress, options.hostVersion);
    if (const auto answer = search.next(window))
        return answer->address;
    throw nobodyAnswers(broadcastAddress, options.hostVersion);
}

JobGoal goalOf(const RenderOptions& options) {
    JobGoal goal;
    goal.images = options.images;
    if (options.seconds)
        goal.time = milliseconds(*options.seconds);
    if (!goal.images && !goal.time)
        goal.images = 1;
    return goal;
}

/// The images that came are worth a result even when the job then failed.
void collect(JobSession& session, const JobGoal& goal, ImageCollection& images) {
    std::optional<Failure> failed;
    try {
        collectImages(session, goal, [&] { images.take(session); });
    } catch (const Failure& failure) {
        failed = failure;
    }
    if (images.hasImages())
        images.writeResults();
    if (failed)
        throw Failure(*failed);
    if (images.hasDamage())
        throw Failure(
            ExitStatus::DamagedImage, "Not all images are whole",
            "The result is the mean of the others. See the disk and network of the node.");
}

}  // namespace

void renderScene(const RenderOptions& options) {
    const auto scene = openScene(options.scene);
    ImageCollection images(nativePath(options.output));
    const String server = serverOf(options);
    std::printf("Connecting to %s\n", toAnsi(server).c_str());
    std::fflush(stdout);
    JobSession session(connectToServer(server),
                       {sceneReleaseText(options.hostVersion), options.camera, options.frame},
                       milliseconds(options.patience));
    ProgressBar progress("Scene");
    session.sendScene(*scene, progress);
    progress.finish();
    collect(session, goalOf(options), images);
}

}  // namespace Orvane
