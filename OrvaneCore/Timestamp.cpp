#include "OrvaneCore/Timestamp.h"

#include <string>

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
struct CachedStamp {
    std::time_t second = -1;
    std::string text;
};

const std::string& cachedStamp(CachedStamp& cache, bool forFileName) {
    const std::time_t now = std::time(nullptr);
    if (now != cache.second) {
        cache.text = stampText(localTime(now), forFileName);
        cache.second = now;
    }
    return cache.text;
}

}  // namespace

String getTimestamp(bool forFileName) {
    thread_local CachedStamp forLines;
    thread_local CachedStamp forFiles;
    return String(cachedStamp(forFileName ? forFiles : forLines, forFileName));
}

String getDate(const std::tm& time) {
    return String(dateText(time));
}

}  // namespace Orvane
