#include "server/JobReceipt.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "OrvaneCore/TextConversion.h"
#include "OrvaneCore/Timestamp.h"

namespace Orvane {

namespace {

using Json = nlohmann::ordered_json;

// The server that writes this has nothing to go by but that it was not told.
const char* const interruptedLine = "The server ended during this job; found at its next start";

/// A master's texts may be as long as a message.
std::string shortText(const String& text) {
    constexpr std::size_t mostCharacters = 512;
    return TextConversion::toUtf8(text.view().substr(0, mostCharacters));
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json timeOrNull(const std::optional<JobReceipt::Time>& time) {
    return time ? Json(utcTimestamp(*time)) : Json();
}

Json year(std::int32_t release) {
    return release == 0 ? Json() : Json(release);
}

/// Milliseconds say enough.
Json seconds(const std::optional<double>& time) {
    return time ? Json(std::round(*time * 1000) / 1000) : Json();
}

std::string onOneLine(const Json& document) {
    constexpr int noIndent = -1;
    return document.dump(noIndent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

const std::array<JobOutcomeWord, 11> jobOutcomeWords = {{
    {JobOutcome::Completed, "completed"},
    {JobOutcome::NoImage, "no-image"},
    {JobOutcome::MasterLeft, "master-left"},
    {JobOutcome::TransferFailed, "transfer-failed"},
    {JobOutcome::HostNotStarted, "host-not-started"},
    {JobOutcome::HostNeverCame, "host-never-came"},
    {JobOutcome::HostCrashed, "host-crashed"},
    {JobOutcome::Disk, "disk"},
    {JobOutcome::Refused, "refused"},
    {JobOutcome::Stopped, "stopped"},
    {JobOutcome::Interrupted, "interrupted"},
}};

const char* wordOf(JobOutcome outcome) {
    return std::find_if(jobOutcomeWords.begin(), jobOutcomeWords.end(),
                        [outcome](const JobOutcomeWord& known) { return known.outcome == outcome; })
        ->word;
}

void SentImages::add(std::uint64_t size) {
    ++count;
    bytes += size;
    last = std::chrono::system_clock::now();
    first = first.value_or(*last);
}

std::string JobReceipt::json() const {
    Json document;
    document["start"] = utcTimestamp(start);
    document["end"] = timeOrNull(end);
    document["outcome"] = ending ? Json(wordOf(ending->outcome)) : Json();
    document["line"] = ending ? Json(shortText(ending->line)) : Json();
    if (jobs > 1)
        document["jobs"] = jobs;
    document["master"] = shortText(master);
    document["releaseAsked"] = releaseAsked;
    document["releaseUsed"] = year(releaseUsed);
    document["frames"] = shortText(frames);
    document["camera"] = shortText(camera);
    document["sceneBytes"] = orNull(sceneBytes);
    document["seconds"] = {{"download", Orvane::seconds(seconds.download)},
                           {"hostStart", Orvane::seconds(seconds.hostStart)},
                           {"render", Orvane::seconds(seconds.render)},
                           {"hostEnd", Orvane::seconds(seconds.hostEnd)}};
    document["images"] = images.count;
    document["imageBytes"] = images.bytes;
    document["firstImage"] = timeOrNull(images.first);
    document["lastImage"] = timeOrNull(images.last);
    document["hostExit"] = orNull(hostExit);
    if (hostWasEnded)
        document["hostEndedByServer"] = true;
    for (const String& line : hostOutput)
        document["hostOutput"].push_back(shortText(line));
    return onOneLine(document);
}

std::string interruptedReceipt(const std::string& unfinished) {
    Json document = Json::parse(unfinished, nullptr, false);
    if (!document.is_object())
        document = Json::parse(JobReceipt().json());
    document["end"] = utcTimestamp(std::chrono::system_clock::now());
    document["outcome"] = wordOf(JobOutcome::Interrupted);
    document["line"] = interruptedLine;
    return onOneLine(document);
}

}  // namespace Orvane
