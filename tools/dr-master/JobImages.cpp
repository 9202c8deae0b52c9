#include "JobImages.h"

#include <string>

#include "ExitStatus.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How late a time that has come may be noticed.
constexpr milliseconds pace{100};

/// Ends a transfer that is on its way when no more time is left for it.
struct TimeIsUp {};

std::string secondsText(milliseconds time) {
    return std::to_string(time.count() / 1000) + " s";
}

class Collection {
  public:
    Collection(JobSession& jobSession, const JobRules& jobRules)
        : session(jobSession), rules(jobRules) {}

    JobEnd run(const TakeImage& takeImage) {
        try {
            while (handle(session.wait(pace), takeImage)) {
                endIfEnough();
                checkTimes();
            }
        } catch (const TimeIsUp&) {
            return JobEnd::Overdue;
        }
        if (!ended)
            throw endedEarly();
        return JobEnd::Closed;
    }

  private:
    /// False when nothing more will come.
    bool handle(JobSession::Event event, const TakeImage& takeImage) {
        if (event == JobSession::Event::Lost)
            throw Failure(ExitStatus::ConnectionLost,
                          "The connection was lost after " + imagesText());
        if (event == JobSession::Event::Image) {
            takeImage([this](std::int64_t, std::int64_t) {
                noteIfEnough();
                checkLastImages();
            });
            ++images;
            lastSign = Clock::now();
        }
        return event != JobSession::Event::Closed;
    }

    std::string imagesText() const {
        return std::to_string(images) + (images == 1 ? " image" : " images");
    }

    /// Also within an image: a node that sends one for hours must not hold up the end.
    void noteIfEnough() {
        if (!enough && rules.isEnough())
            enough = Clock::now();
    }

    void endIfEnough() {
        noteIfEnough();
        if (ended || !enough)
            return;
        session.endRender();
        ended = true;
        rules.onEnd();
    }

    void checkLastImages() const {
        if (enough && Clock::now() - *enough >= rules.lastImages)
            throw TimeIsUp();
    }

    void checkTimes() const {
        checkLastImages();
        const auto silence = ended ? std::nullopt : rules.longestSilence();
        if (silence && Clock::now() - lastSign >= *silence)
            throw Failure(ExitStatus::NoFirstImage, "No image came for " + secondsText(*silence),
                          "See MaxLog.txt in the data folder of the node, or allow more time.");
        if (rules.giveUp && Clock::now() - start >= *rules.giveUp)
            throw givenUp();
    }

    Failure givenUp() const {
        const std::string time = secondsText(*rules.giveUp);
        if (images == 0)
            return {ExitStatus::NoFirstImage, "No image came within " + time,
                    "See MaxLog.txt in the data folder of the node, or allow more time."};
        return {ExitStatus::Busy, "The job did not end within " + time,
                "The host on the node does not end; see MaxLog.txt in its data folder."};
    }

    Failure endedEarly() const {
        if (images == 0)
            return {ExitStatus::NoImages, "The server ended the job without any image",
                    "Its log says why: no host for this version, or one that did not start "
                    "(then see MaxLog.txt in its data folder)."};
        return {ExitStatus::ConnectionLost,
                "The server ended the job before it was told to, after " + imagesText(),
                "Its log says why; what the host said is in MaxLog.txt."};
    }

    JobSession& session;
    const JobRules& rules;
    const Clock::time_point start = Clock::now();
    Clock::time_point lastSign = start;
    std::optional<Clock::time_point> enough;  // since when there is
    bool ended = false;                       // the node has been told
    int images = 0;
};

}  // namespace

JobEnd collectImages(JobSession& session, const JobRules& rules, const TakeImage& takeImage) {
    return Collection(session, rules).run(takeImage);
}

}  // namespace Orvane
