#include "NodeJob.h"

#include "JobImages.h"
#include "JobSession.h"
#include "NativePath.h"
#include "SceneFile.h"
#include "TemporaryPath.h"

namespace Orvane {

namespace {

using Clock = Frame::Clock;
using std::chrono::milliseconds;

/// How late the end of the render may be noticed while a node is busy.
constexpr milliseconds pace{100};

double secondsSince(Clock::time_point start) {
    // A small file arrives within the clock's resolution.
    constexpr double shortest = 1e-6;
    return std::max(std::chrono::duration<double>(Clock::now() - start).count(), shortest);
}

}  // namespace

NodeJob::NodeJob(const FarmJob& farmJob, std::string nodeName, std::string imageLabel,
                 Lease& leased)
    : job(farmJob), label(std::move(imageLabel)), lease(leased) {
    status.node = std::move(nodeName);
    if (job.isAnimation)
        status.frame = lease.frame->text();
}

LeaseEnd NodeJob::run(const String& address) {
    try {
        show(NodePhase::Connecting);
        JobSession session(connectToServer(address),
                           {job.hostVersion, job.camera, String(lease.frame->text())});
        awaitTurn(session);
        sendScene(session);
        return collect(session);
    } catch (const Withdrawn&) {
        return LeaseEnd::Withdrawn;
    }
}

void NodeJob::awaitTurn(JobSession& session) {
    // A free node answers at once; one whose last job has just ended needs a moment.
    constexpr milliseconds free{1000};
    const auto start = Clock::now();
    while (!session.awaitAnswer(pace)) {
        const auto waited = Clock::now() - start;
        if (!job.plan.wants(lease))
            throw Withdrawn();
        if (job.busyPatience && waited >= *job.busyPatience)
            session.requireAnswer(milliseconds(0));
        if (waited >= free && !lease.isBusy.exchange(true))
            show(NodePhase::Busy);
    }
    lease.begin();
}

void NodeJob::sendScene(JobSession& session) {
    const auto scene = openScene(job.scenePath);
    show(NodePhase::Sending);
    const auto start = Clock::now();
    session.sendScene(*scene, [this](std::int64_t moved, std::int64_t size) {
        if (!job.plan.wants(lease))
            throw Withdrawn();
        showTransfer(moved, size);
    });
    const TransferNews sent{status.node, scene->bytesMoved(), secondsSince(start)};
    job.view.tell(&FarmView::sceneSent, sent);
    lastImage = Clock::now();
    lease.frame->start();
    show(NodePhase::Waiting);
}

LeaseEnd NodeJob::collect(JobSession& session) {
    JobRules rules;
    rules.isEnough = [this] { return !job.plan.wants(lease); };
    rules.onEnd = [this] { show(NodePhase::Ending); };
    rules.longestSilence = [this] { return job.pace.longestSilence(); };
    rules.lastImages = job.lastImages;
    JobEnd end{};
    try {
        end = collectImages(session, rules,
                            [&](const TransferWatch& watch) { takeImage(session, watch); });
    } catch (const Failure& failure) {
        // Once there is enough, a node that goes wrong takes nothing along but its last images.
        if (job.plan.wants(lease) || !job.leavesOutDamaged)
            throw;
        job.view.tell(&FarmView::remark,
                      status.node + ", when there was enough: " + failure.what());
    }
    if (end == JobEnd::Overdue)
        job.view.tell(&FarmView::remark, status.node + " did not end its job within " +
                                             std::to_string(job.lastImages.count() / 1000) +
                                             " s; its last images may be missing");
    const bool isEmpty = job.isAnimation && lease.frame->result().count() == 0;
    if (!lease.frame->isReached() || (isEmpty && job.plan.isStopped()))
        return LeaseEnd::Withdrawn;
    if (isEmpty)
        throw Failure(ExitStatus::NoImages, "The frame's time was over before its first image",
                      "Allow more time with --seconds.");
    return LeaseEnd::Finished;
}

void NodeJob::takeImage(JobSession& session, const TransferWatch& watch) {
    job.prepare();
    const TemporaryPath incoming(job.folder.unfinished(label));
    const auto start = Clock::now();
    TransferNews transfer{status.node};
    session.receiveImage(pathText(incoming.path()), [&](std::int64_t moved, std::int64_t size) {
        watch(moved, size);
        transfer.bytes = size;
        showTransfer(moved, size);
    });
    transfer.seconds = secondsSince(start);
    job.pace.note(std::chrono::duration_cast<milliseconds>(Clock::now() - lastImage));
    lastImage = Clock::now();
    if (status.state == NodePhase::Waiting)
        show(NodePhase::Rendering);
    try {
        fold(incoming.path(), transfer);
    } catch (const Failure& failure) {
        if (failure.status != ExitStatus::DamagedImage)
            throw;
        noteDamage(incoming.path(), failure);
    }
}

void NodeJob::fold(const std::filesystem::path& file, const TransferNews& transfer) {
    ImageNews news{transfer, {}, status.frame, 0, {}};
    Frame::Taken sum;
    const ImageLayout layout = readLayout(file);
    const auto mismatch = lease.frame->agree(status.node, layout);
    job.decoders.with([&](ReceivedImage& image) {
        readImage(file, layout, image);
        sum = lease.frame->take(image, mismatch);
    });
    noteForgotten(sum.forgotten);
    news.images = sum.images;
    lease.hasImage = true;
    news.noise = lease.frame->noise();
    if (job.keepsImages)
        news.file = job.folder.keep(file, label);
    job.view.tell(&FarmView::imageTaken, news);
}

void NodeJob::noteForgotten(int images) {
    if (images > 0)
        job.view.tell(&FarmView::remark,
                      "Most nodes send images of another size or with other channels than the " +
                          std::to_string(images) +
                          " added so far: the mean begins anew with theirs");
}

void NodeJob::noteDamage(const std::filesystem::path& file, const Failure& failure) {
    damaged = true;
    if (job.leavesOutDamaged)
        throw Failure(ExitStatus::DamagedImage,
                      std::string("It sent an image that cannot be used: ") + failure.what(),
                      "See the disk and network of the node.");
    const std::string name = job.folder.keep(file, label);
    job.view.tell(&FarmView::imageDamaged, status.node, name, std::string(failure.what()));
}

void NodeJob::show(NodePhase state) {
    status.state = state;
    status.moved = status.size = 0;
    job.view.tell(&FarmView::nodeChanged, status);
}

void NodeJob::showTransfer(std::int64_t moved, std::int64_t size) {
    status.moved = moved;
    status.size = size;
    job.view.tell(&FarmView::nodeChanged, status);
}

}  // namespace Orvane
