#include "OrvaneCore/DrLog.h"

#include <cstdio>

#include "OrvaneCore/Timestamp.h"

namespace Orvane {

namespace {

std::u16string_view upToZero(std::u16string_view text) {
    return text.substr(0, text.find(u'\0'));
}

}  // namespace

void DrLog::log(const String& text) {
    const std::lock_guard<std::recursive_mutex> hold(logLock);
    pendingText += getTimestamp(false);
    pendingText.append(u"   ").append(upToZero(text.view())).append(u"\n");
}

void DrLog::openFile(const String& path) {
    logFile.open(path, true, true);
}

void DrLog::writeBatch() {
    const std::lock_guard<std::recursive_mutex> hold(logLock);
    if (view != nullptr)
        view->append(pendingText);
    const char* ansi = pendingText.narrow();
    logFile.write(ansi);
    std::fputs(ansi, stdout);
    std::fflush(stdout);
    pendingText.truncate(0);
}

void DrLog::flush() {
    writeBatch();
    // Outside the lock: closing waits for workers, and one of them may be about to log.
    if (closeRequested)
        closeNow();
}

void DrLog::closeNow() {
    if (closeHandler)
        closeHandler();
}

}  // namespace Orvane
