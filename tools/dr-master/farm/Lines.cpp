#include "Lines.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "ProgressBar.h"

namespace Orvane::Lines {

namespace {

[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...) {
    std::array<char, 400> line{};
    va_list values;
    va_start(values, format);
    std::vsnprintf(line.data(), line.size(), format, values);
    va_end(values);
    return line.data();
}

std::string noiseText(std::optional<double> noise) {
    return noise ? text(", noise %.4g", *noise) : std::string();
}

std::string imagesText(int images) {
    return std::to_string(images) + (images == 1 ? " image" : " images");
}

std::string joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const auto& part : parts)
        all += (all.empty() ? "" : ", ") + part;
    return all;
}

int count(const std::vector<FrameNews>& frames, FrameNews::Outcome outcome) {
    return static_cast<int>(
        std::count_if(frames.begin(), frames.end(),
                      [outcome](const FrameNews& frame) { return frame.outcome == outcome; }));
}

}  // namespace

std::string rate(const TransferNews& transfer) {
    constexpr double bytesPerMegabyte = 1e6;
    return text("%.1f MB/s",
                static_cast<double>(transfer.bytes) / bytesPerMegabyte / transfer.seconds);
}

std::string sceneSent(const TransferNews& news) {
    return news.node + ": scene sent, " + sizeText(news.bytes) +
           text(" in %.2f s, ", news.seconds) + rate(news);
}

std::string imageTaken(const ImageNews& news) {
    const std::string what = news.frame.empty() ? "" : "frame " + news.frame + ", ";
    return news.transfer.node + ": " + what + "image " + std::to_string(news.images) + ", " +
           sizeText(news.transfer.bytes) + text(" in %.2f s, ", news.transfer.seconds) +
           rate(news.transfer) + noiseText(news.noise) +
           (news.file.empty() ? "" : ": " + news.file);
}

std::string imageDamaged(const std::string& node, const std::string& file, const std::string& why) {
    return node + ": " + (file.empty() ? "an image" : file) + " is damaged: " + printable(why);
}

std::string nodeLeftOut(const std::string& node, const Failure& why,
                        std::chrono::seconds untilRetry) {
    const std::string next = untilRetry.count() > 0
                                 ? "; tried again in " + std::to_string(untilRetry.count()) + " s"
                                 : "";
    return node + ": " + printable(why.what()) + next;
}

std::string frameEnded(const FrameNews& news) {
    std::string line = "frame " + news.frame + ": " + outcomeText(news.outcome);
    if (news.outcome == FrameNews::Outcome::Skipped)
        return line + ", its result is there";
    if (news.outcome == FrameNews::Outcome::Finished)
        line += text(", %s in %.1f s", imagesText(news.images).c_str(), news.seconds);
    return news.nodes.empty() ? line : line + ", " + news.nodes.back();
}

std::string resultWritten(int images, std::optional<double> noise) {
    return "result.exr and result.png: the mean of " + imagesText(images) + noiseText(noise);
}

std::vector<std::string> table(const std::vector<FrameNews>& frames) {
    std::vector<std::string> lines;
    lines.push_back(
        text("%-8s %-9s %9s %7s %8s  %s", "frame", "", "seconds", "images", "retries", "nodes"));
    FrameNews sum;
    for (const FrameNews& frame : frames) {
        lines.push_back(text("%-8s %-9s %9.1f %7d %8d  ", frame.frame.c_str(),
                             outcomeText(frame.outcome), frame.seconds, frame.images,
                             frame.retries) +
                        joined(frame.nodes));
        sum.seconds += frame.seconds;
        sum.images += frame.images;
        sum.retries += frame.retries;
    }
    lines.push_back(
        text("%-8s %-9s %9.1f %7d %8d  %d finished, %d skipped, %d failed, %d open", "all", "",
             sum.seconds, sum.images, sum.retries, count(frames, FrameNews::Outcome::Finished),
             count(frames, FrameNews::Outcome::Skipped), count(frames, FrameNews::Outcome::Failed),
             count(frames, FrameNews::Outcome::Open)));
    return lines;
}

}  // namespace Orvane::Lines
