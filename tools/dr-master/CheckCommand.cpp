#include <algorithm>
#include <functional>
#include <memory>

#include "CheckReport.h"
#include "Commands.h"
#include "Discovery.h"
#include "Image.h"
#include "Interruption.h"
#include "JobImages.h"
#include "JobSession.h"
#include "LocalCheck.h"
#include "NativePath.h"
#include "OrvaneCore/HostReleases.h"
#include "OrvaneCore/RandomSource.h"
#include "ProgressBar.h"
#include "SceneFile.h"
#include "TemporaryPath.h"
#include "protocol/Ports.h"
#include "protocol/Resolve.h"
#include "protocol/Timeouts.h"

namespace Orvane {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// As long as a refusal may be on its way; a computer that is off lets a caller wait longer.
constexpr milliseconds refusalPatience{2000};

/// A free server answers at once. One with many strangers may be busy with them for so long.
constexpr std::chrono::seconds handshakePatience{Timeouts::masterHandshakeSeconds + 1};
/// One answer may be lost with its ping, or be late.
constexpr milliseconds pingWindow = 3 * Timeouts::discoveryPoll;

long long millisecondsSince(Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start).count();
}

std::string secondsText(long long time) {
    return std::to_string(time / 1000) + "." + std::to_string(time % 1000 / 100) + " s";
}

/// A folder of its own for the images of a check.
std::filesystem::path newFolder() {
    auto path =
        std::filesystem::temp_directory_path() / ("dr-master-" + std::to_string(randomNumber()));
    std::filesystem::create_directory(path);
    return path;
}

void throwIfInterrupted() {
    if (Interruption::hasCome())
        throw Failure(ExitStatus::Interrupted, "Ended by Ctrl-C");
}

class Check {
  public:
    explicit Check(const CheckOptions& checkOptions)
        : options(checkOptions), report(checkOptions.server, checkOptions.json) {}

    ExitStatus run() {
        if (look("name", [this](Finding& finding) { checkName(finding); })) {
            const bool open = look("port", [this](Finding& finding) { checkPort(finding); });
            const bool free =
                open && look("handshake", [this](Finding& finding) { checkHandshake(finding); });
            const bool found = look(
                "discovery", [this, open](Finding& finding) { checkDiscovery(finding, open); });
            look("masters", [&](Finding& finding) { explain(finding, open, free, found); });
            if (free && !options.scene.empty())
                look("job", [this](Finding& finding) { checkJob(finding); });
        }
        return report.finish();
    }

  private:
    /// Answers whether it was found in order.
    bool look(const std::string& subject, const std::function<void(Finding&)>& examine) {
        Finding finding;
        finding.subject = subject;
        try {
            examine(finding);
        } catch (const Failure& failure) {
            finding.status = failure.status;
            finding.text = failure.what();
            finding.remedy = failure.remedy;
            if (worstStatus == ExitStatus::Success)
                worstStatus = failure.status;
        }
        const bool ok = finding.isOk();
        report.add(std::move(finding));
        return ok;
    }

    /// What all this means for a master that looks for a node, as far as it can be known from here.
    void explain(Finding& finding, bool open, bool free, bool found) const {
        finding.status = worstStatus;
        if (!open)
            finding.text = withoutPort(found);
        else if (worstStatus == ExitStatus::Refused)
            finding.text =
                "on this computer do not get this node: 'Masters' in its "
                "DrConfig-1.00.txt leaves them out, or it is no DR server";
        else if (!free)
            finding.text = withoutAnswer(found);
        else if (found)
            finding.text = "find this node and get it at once";
        else if (!hosts.empty())
            finding.text = "that look for this release do not find this node";
        else
            finding.text = "get this node by its address, but do not find it";
    }

    std::string withoutPort(bool found) const {
        if (found)
            return "find this node but cannot reach it: a firewall lets UDP through, not TCP";
        if (refusedAtOnce)
            return "do not get this node: the computer is up, but no DR server listens there";
        return "do not get this node: the computer is off, or a firewall drops everything";
    }

    static std::string withoutAnswer(bool found) {
        if (found)
            return "find this node and wait: another master has it, or its host has not ended. "
                   "Since when is only known there: dr-master check --local";
        return "neither find this node nor get an answer: it hangs, or is no DR server";
    }

    void checkName(Finding& finding) {
        const auto found = resolve(options.server);
        if (!found)
            throw Failure(ExitStatus::Unreachable, "The name '" + options.server + "' is not known",
                          "Check the spelling, or give the address in digits.");
        address = *found;
        finding.text = options.server + " is " + toAnsi(address);
    }

    void checkPort(Finding& finding) {
        const auto start = Clock::now();
        try {
            connection = connectToServer(address);
        } catch (const Failure&) {
            refusedAtOnce = Clock::now() - start < refusalPatience;
            throw;
        }
        finding.figures["milliseconds"] = millisecondsSince(start);
        finding.text = "TCP port " + std::to_string(masterPort) + " is open";
    }

    void checkHandshake(Finding& finding) {
        const auto start = Clock::now();
        JobSession session(std::move(connection), JobSession::noJob());
        session.requireAnswer(handshakePatience);
        const long long time = millisecondsSince(start);
        finding.figures["milliseconds"] = time;
        finding.text = "answered after " + std::to_string(time) + " ms";
    }

    void checkDiscovery(Finding& finding, bool portIsOpen) {
        Discovery search({toAnsi(address)}, allReleases());
        search.listen(pingWindow);
        for (const auto& [node, versions] : search.nodes())
            hosts.insert(versions.begin(), versions.end());
        describeHosts(finding);
        if (hosts.empty())
            throw noHosts(portIsOpen);
        if (options.hostYear && !hosts.contains(*options.hostYear))
            throw Failure(ExitStatus::NobodyAnswers,
                          "No answer for 3ds Max " + std::to_string(*options.hostYear) +
                              ", but for " + finding.text,
                          "Configure the folder of that version in DrConfig-1.00.txt on the node "
                          "and start the DR server again.");
    }

    void describeHosts(Finding& finding) const {
        for (const auto& [version, delay] : hosts) {
            const std::string year = std::to_string(version);
            finding.text += (finding.text.empty() ? "3ds Max " : ", ") + year + " (" +
                            std::to_string(delay.count()) + " ms)";
            finding.figures["hostVersions"][year] = delay.count();
        }
    }

    static Failure noHosts(bool portIsOpen) {
        const std::string port = "UDP port " + std::to_string(discoveryPort);
        const std::string nobody = "No answer for 3ds Max " + std::to_string(firstHostYear) +
                                   " to " + std::to_string(lastHostYear);
        if (portIsOpen)
            return {ExitStatus::NobodyAnswers, nobody,
                    "The server runs: name its host in DrConfig-1.00.txt and start it again, or "
                    "open " +
                        port + " in the firewall."};
        return {ExitStatus::NobodyAnswers, nobody, "Nothing shows that a DR server runs there."};
    }

    int versionOfJob() const {
        if (options.hostYear)
            return *options.hostYear;
        return hosts.empty() ? firstHostYear : hosts.begin()->first;
    }

    void checkJob(Finding& finding) const {
        const auto scene = openScene(options.scene);
        const TemporaryPath folder(newFolder());
        const FrameInfo job{sceneReleaseText(versionOfJob()), {}, "0"};
        JobSession session(connectToServer(address), job);
        session.requireAnswer(handshakePatience);
        ProgressBar progress("Scene");
        session.sendScene(*scene, [&](std::int64_t moved, std::int64_t size) {
            throwIfInterrupted();
            progress.show(moved, size);
        });
        progress.clear();
        const auto start = Clock::now();
        int images = 0;
        long long firstImage = 0;
        JobRules rules;
        rules.isEnough = [&images] {
            throwIfInterrupted();
            return images > 0;
        };
        rules.giveUp = milliseconds(static_cast<long long>(options.jobSeconds * 1000));
        rules.lastImages = *rules.giveUp;
        collectImages(session, rules, [&](const TransferWatch& watch) {
            if (images++ == 0)
                firstImage = millisecondsSince(start);
            takeImage(session, folder.path() / "image.exr", watch);
        });
        const long long wholeJob = millisecondsSince(start);
        finding.figures = {{"firstImageMilliseconds", firstImage},
                           {"jobMilliseconds", wholeJob},
                           {"images", images}};
        finding.text = "first image " + secondsText(firstImage) +
                       " after the scene, job ended after " + secondsText(wholeJob) +
                       "; images: " + std::to_string(images) + ", all whole";
    }

    static void takeImage(JobSession& session, const std::filesystem::path& path,
                          const TransferWatch& watch) {
        ProgressBar progress("Image");
        session.receiveImage(pathText(path), [&](std::int64_t moved, std::int64_t size) {
            throwIfInterrupted();
            watch(moved, size);
            progress.show(moved, size);
        });
        progress.clear();
        ReceivedImage image;
        readImage(path, std::nullopt, image);
    }

    const Interruption interruption;
    const CheckOptions& options;
    CheckReport report;
    String address;
    std::unique_ptr<Connection> connection;
    HostVersions hosts;
    bool refusedAtOnce = false;
    ExitStatus worstStatus = ExitStatus::Success;  // the first that is not
};

}  // namespace

ExitStatus checkServer(const CheckOptions& options) {
    if (options.folder.empty())
        return Check(options).run();
    CheckReport report(options.folder, options.json);
    checkFolder(options.folder, report);
    return report.finish();
}

}  // namespace Orvane
