#include "OrvaneCore/DrLog.h"

#include <cstdio>
#include <utility>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/LogRotation.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/Timestamp.h"

namespace Orvane {

namespace {

std::u16string_view upToZero(std::u16string_view text) {
    return text.substr(0, text.find(u'\0'));
}

}  // namespace

void DrLog::log(const String& text) {
    if (append(text))
        wakeOwner();
}

/// True when nothing was pending before.
bool DrLog::append(const String& text) {
    const std::lock_guard<std::mutex> hold(logLock);
    if (pendingText.length() >= mostPendingCharacters) {
        ++leftOut;
        return false;
    }
    const bool first = pendingText.isEmpty();
    pendingText += getTimestamp(false);
    pendingText.append(u"   ").append(upToZero(text.view())).append(u"\n");
    return first;
}

void DrLog::requestClose() {
    closeRequested = true;
    wakeOwner();
}

void DrLog::wakeOwner() const {
    if (wakeHandler)
        wakeHandler();
}

void DrLog::openFile(const String& path) {
    logFile.open(path, true, true);
    filePath = path;
}

void DrLog::tendFile() {
    if (filePath.isEmpty())
        return;
    const std::int64_t size = FileSystem::fileSize(filePath);
    const bool gone = size < 0;
    if (gone || (fileLimit > 0 && !fileKept && static_cast<std::uint64_t>(size) >= nextMove))
        renewFile(gone ? 0 : static_cast<std::uint64_t>(size));
}

void DrLog::renewFile(std::uint64_t size) {
    // Nobody else writes it, so nothing is lost in between.
    logFile.close();
    // What a full disk or another program prevents is not tried twice a second.
    nextMove = size == 0 || moveAside(filePath, fileLimit) ? fileLimit : size + fileLimit / 8;
    try {
        logFile.open(filePath, true, true);
    } catch (const Exception&) {
        // Tried again with the next batch.
    }
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
    tendFile();
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
