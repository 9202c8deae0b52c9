#include "OrvaneCore/DrLog.h"

#include <cstdio>
#include <utility>

#include "OrvaneCore/Str.h"
#include "OrvaneCore/Timestamp.h"

namespace Orvane {

namespace {

std::u16string_view upToZero(std::u16string_view text) {
    return text.substr(0, text.find(u'\0'));
}

}  // namespace

void DrLog::log(const String& text) {
    const std::lock_guard<std::mutex> hold(logLock);
    if (pendingText.length() >= mostPendingCharacters) {
        ++leftOut;
        return;
    }
    pendingText += getTimestamp(false);
    pendingText.append(u"   ").append(upToZero(text.view())).append(u"\n");
}

void DrLog::openFile(const String& path) {
    logFile.open(path, true, true);
}

void DrLog::takeBatch() {
    batch.truncate(0);
    std::int32_t missing = 0;
    {
        const std::lock_guard<std::mutex> hold(logLock);
        batch.swap(pendingText);
        std::swap(missing, leftOut);
    }
    if (missing > 0)
        log(String("Left out ") + Str::toWString(missing) + " lines: the log could not be written");
}

void DrLog::flush() {
    // Without the lock: a terminal that has been halted, or a disk that hangs, stops this thread
    // and no other.
    takeBatch();
    if (view != nullptr)
        view->append(batch);
    const char* const ansi = batch.narrow();
    logFile.write(ansi);
    std::fputs(ansi, stdout);
    std::fflush(stdout);
    if (closeRequested)
        closeNow();
}

void DrLog::closeNow() {
    if (closeHandler)
        closeHandler();
}

}  // namespace Orvane
