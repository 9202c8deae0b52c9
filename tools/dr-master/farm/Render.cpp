#include "Render.h"

#include <algorithm>
#include <mutex>

#include "Interruption.h"
#include "OrvaneCore/HostReleases.h"
#include "Terminal.h"
#include "farm/AnimationPlan.h"
#include "farm/Farm.h"
#include "farm/JsonView.h"
#include "farm/NodeSource.h"
#include "farm/PlainView.h"
#include "farm/ResultRefresh.h"
#include "farm/StillPlan.h"
#include "farm/TerminalView.h"

namespace Orvane {

namespace {

using std::chrono::milliseconds;

std::unique_ptr<FarmView> viewFor(const RenderOrder& order) {
    if (order.json)
        return std::make_unique<JsonView>();
    if (Terminal::isPresent())
        return std::make_unique<TerminalView>();
    return std::make_unique<PlainView>();
}

milliseconds patienceOf(const RenderOrder& order) {
    constexpr milliseconds forOneNode{10'000}, forMany{60'000};
    return order.patience.value_or(order.isForOneNode() ? forOneNode : forMany);
}

Failure noImages() {
    return {ExitStatus::NoImages, "The render ended without any image",
            "The logs of the nodes say why."};
}

Failure notAllWhole() {
    return {ExitStatus::DamagedImage, "Not all images are whole",
            "The result is the mean of the others. See the disk and network of the node."};
}

std::optional<Failure> failedFrames(const std::vector<FrameNews>& frames) {
    const auto failed = std::count_if(frames.begin(), frames.end(), [](const FrameNews& frame) {
        return frame.outcome == FrameNews::Outcome::Failed;
    });
    if (failed == 0)
        return std::nullopt;
    return Failure(
        ExitStatus::FramesFailed,
        std::to_string(failed) + " of " + std::to_string(frames.size()) + " frames failed",
        "See above why; the same command tries those frames again.");
}

/// What a still and an animation have in common.
class Render {
  public:
    explicit Render(const RenderOrder& renderOrder)
        : order(renderOrder),
          folder(order.folder, order.mostKeptBytes),
          view(viewFor(order)),
          pace(order.longestSilence, order.isForOneNode()) {}

    void run() {
        try {
            if (order.frames.empty())
                runStill();
            else
                runAnimation();
        } catch (const Failure& failure) {
            if (!hasEnded)
                view.tell(&FarmView::ended, failure.status, std::vector<FrameNews>());
            throw;
        }
    }

  private:
    void runStill() {
        const auto frame = std::make_shared<Frame>(order.frame, order.goal);
        StillPlan plan(frame);
        FarmJob job = jobFor(plan);
        // Not at once: a render that comes to nothing leaves the last one's result.
        std::once_flag cleaned;
        job.prepare = [&] { std::call_once(cleaned, [this] { sayWhatIsCleaned(); }); };
        Farm farm(job, patienceOf(order));
        std::optional<ResultRefresh> refresh(std::in_place, *frame, folder, view);
        work(farm);
        refresh.reset();
        concludeStill(farm, *frame);
    }

    void runAnimation() {
        AnimationPlan plan(order.frames, order.goal, folder, view);
        const FarmJob job = jobFor(plan);
        Farm farm(job, patienceOf(order));
        if (!plan.isOver())
            work(farm);
        const auto frames = plan.table();
        std::optional<Failure> failure = plan.failure() ? plan.failure() : farm.failure();
        if (!failure)
            failure = failedFrames(frames);
        end(failure, frames);
    }

    FarmJob jobFor(WorkPlan& plan) {
        const bool alone = order.isForOneNode();
        FarmJob job{plan, folder, decoders, pace, view};
        job.scenePath = order.scenePath;
        job.hostVersion = sceneReleaseText(order.hostYear);
        job.camera = order.camera;
        job.lastImages = order.lastImages;
        job.isAnimation = !order.frames.empty();
        job.leavesOutDamaged = !alone;
        job.keepsImages = order.frames.empty();
        if (alone)
            job.busyPatience = patienceOf(order);
        return job;
    }

    void sayWhatIsCleaned() {
        if (const int removed = folder.clean())
            view.tell(&FarmView::remark, "Removed " + std::to_string(removed) +
                                             " files of an earlier render from the folder");
        if (const int others = folder.countOthers())
            view.tell(&FarmView::remark, std::to_string(others) +
                                             " images in the folder are not known to be an earlier "
                                             "render's: they stay, and are no part of the result");
    }

    void work(Farm& farm) {
        NodeSource nodes(order);
        farm.run([&] { nodes.addTo(farm); });
    }

    void concludeStill(const Farm& farm, const Frame& frame) {
        std::optional<Failure> failure = farm.failure();
        const int images = frame.result().count();
        if (!failure && images == 0)
            failure = noImages();
        if (!failure && order.isForOneNode() && farm.hasDamage())
            failure = notAllWhole();
        if (images > 0) {
            folder.writeResult(frame.result().mean());
            view.tell(&FarmView::resultWritten, images, frame.noise(), true);
        }
        end(failure, {});
    }

    void end(const std::optional<Failure>& failure, const std::vector<FrameNews>& frames) {
        hasEnded = true;
        view.tell(&FarmView::ended, failure ? failure->status : ExitStatus::Success, frames);
        if (failure)
            throw Failure(*failure);
    }

    const RenderOrder& order;
    const Interruption interruption;  // before any thread
    OutputFolder folder;
    SerialView view;
    DecodeSlots decoders;
    Pace pace;
    bool hasEnded = false;  // said so
};

}  // namespace

void render(const RenderOrder& order) {
    Render(order).run();
}

}  // namespace Orvane
