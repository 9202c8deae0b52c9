#include "JobGoal.h"

#include <string>

#include "ExitStatus.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How late a time that has come may be noticed.
constexpr milliseconds pace{100};

class Collection {
  public:
    Collection(JobSession& jobSession, const JobGoal& jobGoal)
        : session(jobSession), goal(jobGoal) {}

    void run(const std::function<void()>& takeImage) {
        for (;;) {
            const auto event = session.wait(pace);
            if (event == JobSession::Event::Closed)
                break;
            if (event == JobSession::Event::Lost)
                throw Failure(ExitStatus::ConnectionLost,
                              "The connection was lost after " + imagesText());
            if (event == JobSession::Event::Image) {
                takeImage();
                ++images;
            }
            endIfReached();
            giveUpIfTooLate();
        }
        judge();
    }

  private:
    bool isOver(const std::optional<milliseconds>& time) const {
        return time && Clock::now() - start >= *time;
    }

    std::string imagesText() const {
        return std::to_string(images) + (images == 1 ? " image" : " images");
    }

    void endIfReached() {
        if (ended || !((goal.images && images >= *goal.images) || isOver(goal.time)))
            return;
        session.endRender();
        ended = true;
    }

    void giveUpIfTooLate() const {
        if (!isOver(goal.giveUp))
            return;
        const std::string seconds = std::to_string(goal.giveUp->count() / 1000);
        if (images == 0)
            throw Failure(ExitStatus::NoFirstImage, "No image came within " + seconds + " s",
                          "See MaxLog.txt in the data folder of the node, or allow more time.");
        throw Failure(ExitStatus::Busy, "The job did not end within " + seconds + " s",
                      "The host on the node does not end; see MaxLog.txt in its data folder.");
    }

    void judge() const {
        if (images == 0)
            throw Failure(ExitStatus::NoImages, "The server ended the job without any image",
                          "Its log says why: no host for this version, or one that did not start "
                          "(then see MaxLog.txt in its data folder).");
        if (!ended)
            throw Failure(ExitStatus::ConnectionLost,
                          "The server ended the job before it was told to, after " + imagesText(),
                          "Its log says why; what the host said is in MaxLog.txt.");
    }

    JobSession& session;
    const JobGoal& goal;
    const Clock::time_point start = Clock::now();
    int images = 0;
    bool ended = false;
};

}  // namespace

void collectImages(JobSession& session, const JobGoal& goal,
                   const std::function<void()>& takeImage) {
    Collection(session, goal).run(takeImage);
}

}  // namespace Orvane
