#include "TerminalView.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "Terminal.h"
#include "farm/Lines.h"

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds drawingInterval{200};
constexpr double secondsPerMinute = 60;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string perMinute(int images, std::chrono::steady_clock::time_point start) {
    std::array<char, 32> text{};
    const double seconds = std::max(secondsSince(start), 1.0);
    std::snprintf(text.data(), text.size(), "%.1f/min", images * secondsPerMinute / seconds);
    return images == 0 ? "" : text.data();
}

std::string transferText(const NodeStatus& status) {
    if (status.size <= 0 || status.moved >= status.size)
        return {};
    std::string text = std::to_string(100 * status.moved / status.size);
    text.insert(text.begin(), ' ');
    return text.append(" %");
}

/// Nodes that work come first: not all may find room.
bool comesFirst(NodePhase state) {
    return state == NodePhase::Sending || state == NodePhase::Rendering ||
           state == NodePhase::Ending || state == NodePhase::Waiting;
}

}  // namespace

TerminalView::Row& TerminalView::rowOf(const std::string& node) {
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const Row& row) { return row.status.node == node; });
    if (found != rows.end())
        return *found;
    const auto place = std::find_if(rows.begin(), rows.end(),
                                    [&](const Row& row) { return row.status.node > node; });
    Row& row = *rows.insert(place, Row());
    row.status.node = node;
    return row;
}

void TerminalView::keep(const std::string& line) {
    kept.push_back(line);
    nextDrawing = Clock::now();
}

void TerminalView::nodeChanged(const NodeStatus& status) {
    Row& row = rowOf(status.node);
    if (status.state == NodePhase::Waiting && row.firstWork == Clock::time_point())
        row.firstWork = Clock::now();
    if (status.state == NodePhase::Sending)
        row.remark.clear();
    row.status = status;
}

void TerminalView::sceneSent(const TransferNews& news) {
    rowOf(news.node).rate = Lines::rate(news);
}

void TerminalView::imageTaken(const ImageNews& news) {
    Row& row = rowOf(news.transfer.node);
    ++row.images;
    ++images;
    row.rate = Lines::rate(news.transfer);
    lastNoise = news.noise;
}

void TerminalView::imageDamaged(const std::string& node, const std::string& file,
                                const std::string& why) {
    keep(Lines::imageDamaged(node, file, why));
}

void TerminalView::nodeLeftOut(const std::string& node, const Failure& why,
                               std::chrono::seconds untilRetry) {
    rowOf(node).remark = printable(why.what());
    if (untilRetry.count() > 0)
        keep(Lines::nodeLeftOut(node, why, untilRetry));
}

void TerminalView::frameEnded(const FrameNews& news) {
    frames += news.outcome == FrameNews::Outcome::Finished ? 1 : 0;
    keep(Lines::frameEnded(news));
}

void TerminalView::resultWritten(int imagesOfResult, std::optional<double> noise, bool isLast) {
    resultImages = imagesOfResult;
    if (isLast)
        keep(Lines::resultWritten(imagesOfResult, noise));
}

void TerminalView::remark(const std::string& text) {
    keep(text);
}

void TerminalView::redraw() {
    if (Clock::now() < nextDrawing)
        return;
    nextDrawing = Clock::now() + drawingInterval;
    takeAway();
    draw();
    std::fflush(stdout);
}

void TerminalView::takeAway() {
    for (; drawnLines > 0; --drawnLines)
        std::fputs(Terminal::lineUp, stdout);
    std::fputs(Terminal::clearBelow, stdout);
    for (const std::string& line : kept)
        std::printf("%s\n", line.c_str());
    kept.clear();
}

void TerminalView::draw() {
    const auto [columns, lines] = Terminal::size();
    // One for the total, one for the cursor.
    const auto room = static_cast<std::size_t>(std::max(lines - 3, 1));
    std::vector<const Row*> order;
    for (const Row& row : rows)
        order.push_back(&row);
    if (order.size() > room)
        std::stable_partition(order.begin(), order.end(),
                              [](const Row* row) { return comesFirst(row->status.state); });
    for (std::size_t i = 0; i < std::min(order.size(), room); ++i)
        print(lineOf(*order[i]), columns);
    if (order.size() > room)
        print("and " + std::to_string(order.size() - room) + " more nodes", columns);
    print(totalLine(), columns);
}

void TerminalView::print(const std::string& line, int width) {
    // A line that wraps would count as two when it is taken away.
    const auto most = static_cast<std::size_t>(std::max(width - 1, 1));
    std::printf("%s\n", line.substr(0, most).c_str());
    ++drawnLines;
}

std::string TerminalView::lineOf(const Row& row) const {
    std::array<char, 400> text{};
    const int share = images > 0 ? 100 * row.images / images : 0;
    const std::string state = nodePhaseText(row.status.state) + transferText(row.status);
    const std::string frame = row.status.frame.empty() ? "" : "frame " + row.status.frame;
    const std::string remark =
        row.status.state == NodePhase::LeftOut || row.status.state == NodePhase::Connecting
            ? row.remark
            : frame;
    std::snprintf(text.data(), text.size(), "%-20.40s %-14s %6d images %3d %% %10s %12s  %s",
                  row.status.node.c_str(), state.c_str(), row.images, share,
                  perMinute(row.images, row.firstWork).c_str(), row.rate.c_str(), remark.c_str());
    return text.data();
}

std::string TerminalView::totalLine() const {
    std::array<char, 200> text{};
    const auto working = std::count_if(rows.begin(), rows.end(),
                                       [](const Row& row) { return comesFirst(row.status.state); });
    const std::string who =
        "all: " + std::to_string(working) + " of " + std::to_string(rows.size()) + " nodes";
    std::snprintf(text.data(), text.size(), "%-35s %6d images       %10s %11.0f s", who.c_str(),
                  images, perMinute(images, start).c_str(), secondsSince(start));
    std::string line = text.data();
    if (lastNoise) {
        std::snprintf(text.data(), text.size(), ", noise %.4g", *lastNoise);
        line += text.data();
    }
    if (resultImages > 0)
        line += ", result of " + std::to_string(resultImages);
    return frames > 0 ? line + ", " + std::to_string(frames) + " frames done" : line;
}

void TerminalView::ended(ExitStatus /*status*/, const std::vector<FrameNews>& allFrames) {
    takeAway();
    if (!rows.empty())
        draw();
    if (!allFrames.empty())
        for (const std::string& line : Lines::table(allFrames))
            std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

}  // namespace Orvane
