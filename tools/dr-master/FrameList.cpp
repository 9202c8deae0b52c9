#include "FrameList.h"

#include <charconv>
#include <set>
#include <sstream>

#include "ExitStatus.h"

namespace Orvane {

namespace {

/// An hour of film, and what a slip of the finger does not turn into a day of rendering.
constexpr std::size_t mostFrames = 100'000;

struct Range {
    int first = 0;
    int last = 0;
    int step = 1;
};

Failure wrong(const std::string& part) {
    return {ExitStatus::WrongUsage,
            "No frames, or more than " + std::to_string(mostFrames) + ": " + printable(part),
            "Write frames as 1-100,120,200-300x5: the last means every fifth from 200 to 300."};
}

/// Takes the digits at the front of the text; false without any.
bool takeNumber(std::string_view& text, int& number) {
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return error == std::errc() && number >= 0;
}

bool takeMark(std::string_view& text, char mark) {
    if (!text.starts_with(mark))
        return false;
    text.remove_prefix(1);
    return true;
}

Range rangeOf(const std::string& part) {
    std::string_view rest = part;
    Range range;
    bool isRight = takeNumber(rest, range.first);
    range.last = range.first;
    if (takeMark(rest, '-'))
        isRight = isRight && takeNumber(rest, range.last);
    if (takeMark(rest, 'x'))
        isRight = isRight && takeNumber(rest, range.step);
    if (!isRight || !rest.empty() || range.step < 1)
        throw wrong(part);
    if (range.last < range.first)
        throw Failure(ExitStatus::WrongUsage, "The frames run backwards: " + part,
                      "Write the first one before the last, as in 1-100.");
    return range;
}

}  // namespace

std::vector<int> framesOf(const std::string& text) {
    std::vector<int> frames;
    std::set<int> known;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const Range range = rangeOf(part);
        if ((range.last - range.first) / range.step >= static_cast<int>(mostFrames))
            throw wrong(part);
        // Counted as a wider number: the last frame may be the largest there is.
        for (long long frame = range.first; frame <= range.last; frame += range.step) {
            if (known.insert(static_cast<int>(frame)).second)
                frames.push_back(static_cast<int>(frame));
            if (frames.size() > mostFrames)
                throw wrong(part);
        }
    }
    if (frames.empty())
        throw wrong(text);
    return frames;
}

}  // namespace Orvane
