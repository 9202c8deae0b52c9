#include "server/NodeState.h"

#include <sstream>

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/HostReleases.h"
#include "OrvaneCore/WholeFile.h"
#include "server/Startup.h"

namespace Orvane {

namespace {

// Collectors look once or twice a minute.
constexpr std::chrono::seconds longestSilence{30};

double secondsSince1970(JobReceipt::Time time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// Prometheus' text format.
class Figures {
  public:
    Figures() {
        // Bytes of a data folder have more digits than the default shows.
        out.precision(15);
    }

    void begin(const char* name, const char* type, const char* help) {
        out << "# HELP orvane_dr_" << name << ' ' << help << "\n# TYPE orvane_dr_" << name << ' '
            << type << '\n';
    }
    template <typename Value>
    void add(const char* name, const std::string& labels, Value value) {
        out << "orvane_dr_" << name << labels << ' ' << value << '\n';
    }
    template <typename Value>
    void single(const char* name, const char* type, const char* help, Value value) {
        begin(name, type, help);
        add(name, {}, value);
    }
    std::string text() const { return out.str(); }

  private:
    std::ostringstream out;
};

std::string releases(const DrConfig& config) {
    std::string years;
    for (std::int32_t year = firstHostYear; year <= lastHostYear; ++year)
        if (!config.hostPath(year).isEmpty())
            years.append(years.empty() ? "" : " ").append(std::to_string(year));
    return years;
}

}  // namespace

NodeState::~NodeState() {
    if (!up)
        return;
    up = busy = false;
    write();
}

void NodeState::start() {
    const std::lock_guard<std::mutex> hold(lock);
    up = true;
    write();
}

void NodeState::jobBegins() {
    const std::lock_guard<std::mutex> hold(lock);
    busy = true;
    write();
}

void NodeState::jobEnds(const JobReceipt& receipt) {
    const std::lock_guard<std::mutex> hold(lock);
    busy = false;
    jobs[receipt.ending->outcome] += receipt.jobs;
    images += receipt.images.count;
    imageBytes += receipt.images.bytes;
    lastJobEnd = secondsSince1970(*receipt.end);
    lastJobSeconds = lastJobEnd - secondsSince1970(receipt.start);
    write();
}

void NodeState::count(JobOutcome outcome, std::int64_t number) {
    const std::lock_guard<std::mutex> hold(lock);
    jobs[outcome] += number;
    changed = true;
}

void NodeState::refresh() {
    const std::lock_guard<std::mutex> hold(lock);
    if (up && (changed || Clock::now() - written >= longestSilence))
        write();
}

void NodeState::write() {
    written = Clock::now();
    changed = !WholeFile::replace(config.dataFolder + "orvane_dr.prom", text());
}

std::string NodeState::text() const {
    Figures figures;
    figures.single("up", "gauge", "1 while the server runs, 0 when it was told to end.", up);
    figures.single("busy", "gauge", "1 while a master is served.", busy);
    figures.begin("info", "gauge", "Version and the configured 3ds Max releases.");
    figures.add(
        "info",
        std::string("{version=\"") + versionText + "\",releases=\"" + releases(config) + "\"}", 1);
    figures.begin("jobs_total", "counter", "Jobs that have ended since the server's start.");
    for (const auto& [outcome, word] : jobOutcomeWords) {
        const auto found = jobs.find(outcome);
        figures.add("jobs_total", std::string("{outcome=\"") + word + "\"}",
                    found == jobs.end() ? 0 : found->second);
    }
    figures.single("images_total", "counter", "Images sent whole since the server's start.",
                   images);
    figures.single("image_bytes_total", "counter", "Bytes of these images.", imageBytes);
    figures.single("last_job_seconds", "gauge", "How long the last job took.", lastJobSeconds);
    figures.single("last_job_end_timestamp_seconds", "gauge",
                   "When the last job ended; 0 before the first.", lastJobEnd);
    const auto free = FileSystem::freeSpace(config.dataFolder);
    if (free)
        figures.single("data_free_bytes", "gauge", "Room in the data folder.", *free);
    figures.single("state_timestamp_seconds", "gauge", "When these figures were written.",
                   secondsSince1970(std::chrono::system_clock::now()));
    return figures.text();
}

}  // namespace Orvane
