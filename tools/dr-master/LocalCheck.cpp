#include "LocalCheck.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <sstream>

#include "CheckReport.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/WholeFile.h"

namespace Orvane {

namespace {

using Json = nlohmann::ordered_json;

// The server writes its figures every half minute.
constexpr double oldSeconds = 120;
constexpr std::size_t mostReceipts = 100;
constexpr std::size_t mostBytes = 1 << 20;
constexpr std::uint64_t littleRoom = 1'000'000'000;

/// What a word of the receipts asks for.
struct Remedy {
    const char* outcome;
    ExitStatus status;
    const char* text;
};
constexpr std::array remedies = {
    Remedy{
        "no-image", ExitStatus::NoImages,
        "The plug-in came and brought no image: read what the host wrote, below or in MaxLog.txt."},
    Remedy{"master-left", ExitStatus::ConnectionLost,
           "The master went away during the render: look there, and at the network."},
    Remedy{"transfer-failed", ExitStatus::ConnectionLost,
           "The scene or an image broke off: look at the master and the network."},
    Remedy{"host-not-started", ExitStatus::NoImages,
           "The system could start no other process: too many of them, or no memory?"},
    Remedy{
        "host-never-came", ExitStatus::NoImages,
        "The host ended before its plug-in had connected: is the path in DrConfig-1.00.txt right, "
        "is the plug-in installed? Run the command line of DrLog.txt by hand."},
    Remedy{"host-crashed", ExitStatus::NoImages,
           "The host crashed: render the same scene in it by hand."},
    Remedy{"disk", ExitStatus::UnwritableFolder,
           "The scene could not be written: make room, or mend the folder's rights."},
    Remedy{"refused", ExitStatus::Refused,
           "Install that release or name its folder in DrConfig-1.00.txt; rename the camera."},
    Remedy{"stopped", ExitStatus::ConnectionLost,
           "The session or the machine ended during the job: run the server as a service."},
    Remedy{"interrupted", ExitStatus::ConnectionLost,
           "The server was killed, or the machine went down, during the job."},
};

const Remedy* remedyOf(const std::string& outcome) {
    const auto* const found =
        std::find_if(remedies.begin(), remedies.end(),
                     [&](const Remedy& remedy) { return outcome == remedy.outcome; });
    return found == remedies.end() ? nullptr : found;
}

std::string text(const Json& receipt, const char* member) {
    const auto found = receipt.find(member);
    return found != receipt.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::int64_t number(const Json& receipt, const char* member, std::int64_t otherwise) {
    const auto found = receipt.find(member);
    return found != receipt.end() && found->is_number() ? found->get<std::int64_t>() : otherwise;
}

/// A node is asked for no release by a check, which is no failure of the node.
bool isProbe(const Json& receipt) {
    return text(receipt, "outcome") == "refused" && number(receipt, "releaseAsked", -1) == 0;
}

class LocalCheck {
  public:
    LocalCheck(const std::string& folder, CheckReport& checkReport) : report(checkReport) {
        const String below = String(folder) + "/drData";
        data = FileSystem::isFolder(below) ? below : String(folder);
    }

    void run() {
        if (!checkFolder())
            return;
        checkServer();
        readReceipts();
        sumUp();
        showLastJob();
    }

  private:
    bool checkFolder() {
        Finding finding{.subject = "folder", .text = toAnsi(data), .remedy = {}, .figures = {}};
        const bool isOne = FileSystem::isRegularFile(data + "/DrConfig-1.00.txt");
        const auto room = FileSystem::freeSpace(data);
        if (!isOne) {
            finding.status = ExitStatus::Unreachable;
            finding.text += " has no DrConfig-1.00.txt";
            finding.remedy =
                "No DR server has worked there: name the folder that it is started in.";
        } else if (room) {
            finding.text += ", " + std::to_string(*room / 1'000'000) + " MB free";
            finding.figures["freeBytes"] = *room;
            if (*room < littleRoom) {
                finding.status = ExitStatus::UnwritableFolder;
                finding.remedy = "Scenes and images need room: make some.";
            }
        }
        report.add(std::move(finding));
        return isOne;
    }

    void checkServer() {
        Finding finding{.subject = "server", .text = {}, .remedy = {}, .figures = {}};
        const auto figures = readFigures();
        const auto value = [&figures](const char* name) {
            const auto found = figures.find(std::string("orvane_dr_") + name);
            return found == figures.end() ? 0.0 : found->second;
        };
        const double now =
            std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        const double age = now - value("state_timestamp_seconds");
        finding.status = ExitStatus::Unreachable;
        finding.remedy = "Start it.";
        if (figures.empty())
            finding.text = "has left no orvane_dr.prom: it has never run here, or cannot write";
        else if (value("up") == 0)
            finding.text = "was told to end, " + ageText(age) + " ago";
        else if (age > oldSeconds)
            finding.text = "was killed or hangs: it was last heard of " + ageText(age) + " ago";
        else
            finding = {.subject = "server",
                       .text = whatItDoes(value("busy") != 0),
                       .remedy = {},
                       .figures = {{"busy", value("busy") != 0}}};
        report.add(std::move(finding));
    }

    std::string whatItDoes(bool busy) const {
        const std::string bytes = WholeFile::readEnd(data + "/JobUnderWay.json", 0, mostBytes);
        const Json job = Json::parse(bytes, nullptr, false);
        if (!busy || !job.is_object())
            return busy ? "runs, and serves a master" : "runs, and is free for a master";
        return "runs, and serves the master at " + text(job, "master") + " since " +
               text(job, "start");
    }

    std::map<std::string, double> readFigures() const {
        std::istringstream lines(WholeFile::readEnd(data + "/orvane_dr.prom", 0, mostBytes));
        std::map<std::string, double> figures;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t blank = line.rfind(' ');
            if (!line.starts_with('#') && blank != line.npos)
                figures[line.substr(0, blank)] = std::strtod(line.c_str() + blank, nullptr);
        }
        return figures;
    }

    static std::string ageText(double seconds) {
        const auto whole = static_cast<long long>(seconds);
        return whole < 600 ? std::to_string(whole) + " s" : std::to_string(whole / 60) + " min";
    }

    void readReceipts() {
        std::istringstream lines(WholeFile::readEnd(data + "/Jobs.jsonl", 0, mostBytes));
        for (std::string line; std::getline(lines, line);) {
            Json receipt = Json::parse(line, nullptr, false);
            // The first one may be cut.
            if (receipt.is_object() && !isProbe(receipt))
                receipts.push_back(std::move(receipt));
        }
        if (receipts.size() > mostReceipts)
            receipts.erase(receipts.begin(), receipts.end() - mostReceipts);
    }

    void sumUp() {
        Finding finding{.subject = "jobs", .text = {}, .remedy = {}, .figures = {}};
        std::map<std::string, std::int64_t> counts;
        std::int64_t images = 0;
        for (const Json& receipt : receipts) {
            counts[text(receipt, "outcome")] += number(receipt, "jobs", 1);
            images += number(receipt, "images", 0);
        }
        for (const auto& [outcome, count] : counts) {
            finding.text += std::to_string(count) + " " + outcome + ", ";
            finding.figures["outcomes"][outcome] = count;
        }
        finding.figures["images"] = images;
        finding.text = receipts.empty() ? "none yet"
                                        : finding.text + std::to_string(images) +
                                              " images, since " + text(receipts.front(), "start");
        report.add(std::move(finding));
    }

    void showLastJob() {
        const auto failed = std::find_if(
            receipts.rbegin(), receipts.rend(),
            [](const Json& receipt) { return remedyOf(text(receipt, "outcome")) != nullptr; });
        if (failed == receipts.rend())
            return;
        const Remedy& remedy = *remedyOf(text(*failed, "outcome"));
        Finding finding{.subject = "failure",
                        .text = std::string(remedy.outcome) + " at " + text(*failed, "end") + ": " +
                                text(*failed, "line"),
                        .remedy = remedy.text,
                        .figures = {{"receipt", *failed}}};
        // What has been mended since is not wrong any more.
        if (failed == receipts.rbegin())
            finding.status = remedy.status;
        else
            finding.text += " (later jobs went well)";
        for (const Json& line : failed->value("hostOutput", Json::array()))
            if (line.is_string())
                finding.remedy += "\n" + line.get<std::string>();
        report.add(std::move(finding));
    }

    CheckReport& report;
    String data;
    std::vector<Json> receipts;
};

}  // namespace

void checkFolder(const std::string& folder, CheckReport& report) {
    LocalCheck(folder, report).run();
}

}  // namespace Orvane
