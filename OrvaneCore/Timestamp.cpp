#include "OrvaneCore/Timestamp.h"

#include <array>
#include <cstdio>
#include <string>
#include <type_traits>

#include "OrvaneCore/LocalTime.h"

namespace Orvane {

namespace {

void appendTwoDigits(std::string& text, int number) {
    text += static_cast<char>('0' + number / 10 % 10);
    text += static_cast<char>('0' + number % 10);
}

std::string dateText(const std::tm& time) {
    std::string text = std::to_string(time.tm_year + 1900);
    text += '-';
    appendTwoDigits(text, time.tm_mon + 1);
    text += '-';
    appendTwoDigits(text, time.tm_mday);
    return text;
}

std::string stampText(const std::tm& time, bool forFileName) {
    const char timeSeparator = forFileName ? '-' : ':';
    std::string text = dateText(time);
    text += forFileName ? ' ' : '/';
    appendTwoDigits(text, time.tm_hour);
    text += timeSeparator;
    appendTwoDigits(text, time.tm_min);
    text += timeSeparator;
    appendTwoDigits(text, time.tm_sec);
    return text;
}

// Breaking down the time asks the time zone each time; log bursts stamp thousands of lines within
// one second, so each thread keeps its last answer.
struct BrokenDown {
    std::time_t second = -1;
    std::tm time{};
};
// Not every tool chain runs destructors before it frees a thread's storage.
static_assert(std::is_trivially_destructible_v<BrokenDown>);
thread_local BrokenDown last;

const std::tm& localTimeNow() {
    const std::time_t now = std::time(nullptr);
    if (now != last.second)
        last = {now, localTime(now)};
    return last.time;
}

}  // namespace

String getTimestamp(bool forFileName) {
    return String(stampText(localTimeNow(), forFileName));
}

std::string utcTimestamp(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(time - day));
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return text.data();
}

String getDate(const std::tm& time) {
    return String(dateText(time));
}

}  // namespace Orvane
