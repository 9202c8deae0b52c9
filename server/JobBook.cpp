#include "server/JobBook.h"

#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/LogRotation.h"
#include "OrvaneCore/WholeFile.h"

namespace Orvane {

namespace {

// As long as the log folds lines.
constexpr std::chrono::seconds leftOutWindow{10};
constexpr std::size_t mostReceiptBytes = 65536;

String receiptsPath(const DrConfig& config) {
    return config.dataFolder + "Jobs.jsonl";
}

String unfinishedPath(const DrConfig& config) {
    return config.dataFolder + "JobUnderWay.json";
}

/// Where the beginning of a receipt, up to the job's start, stands in a file of them.
std::string beginningOf(const std::string& receipt) {
    return receipt.substr(0, receipt.find(','));
}

}  // namespace

void JobBook::open() {
    moveLogsAside();
    const String path = unfinishedPath(config);
    if (FileSystem::isRegularFile(path)) {
        const std::string unfinished = WholeFile::readEnd(path, 0, mostReceiptBytes);
        const std::string last = WholeFile::readEnd(receiptsPath(config), 0, mostReceiptBytes);
        // It may have been killed between the two.
        if (unfinished.empty() || last.find(beginningOf(unfinished)) == last.npos) {
            if (!append(interruptedReceipt(unfinished)))
                logUnwritten();
            state.count(JobOutcome::Interrupted, 1);
        }
        FileSystem::deleteFile(path);
    }
    state.start();
}

void JobBook::begin(const JobReceipt& receipt) {
    log.keepFile(true);
    note(receipt);
    state.jobBegins();
}

void JobBook::note(const JobReceipt& receipt) {
    WholeFile::replace(unfinishedPath(config), receipt.json());
}

void JobBook::end(JobReceipt& receipt) {
    receipt.end = std::chrono::system_clock::now();
    unwritten = !append(receipt.json());
    FileSystem::deleteFile(unfinishedPath(config));
    state.jobEnds(receipt);
    moveLogsAside();
}

void JobBook::afterwards(const JobReceipt& receipt) {
    if (unwritten)
        logUnwritten();
    if (!receipt.hostOutput.empty())
        log.log("No image came. The last lines of this job in MaxLog.txt:");
    for (const String& line : receipt.hostOutput)
        log.log(String("MaxLog> ") + line);
    log.keepFile(false);
}

void JobBook::leaveOut(const JobReceipt& receipt) {
    if (leftOut) {
        ++leftOut->jobs;
    } else {
        leftOut = receipt;
        leftOutSince = Clock::now();
    }
    state.count(receipt.ending->outcome, 1);
}

void JobBook::tick() {
    if (Clock::now() >= due())
        writeLeftOut();
}

JobBook::Clock::time_point JobBook::due() const {
    return leftOut ? leftOutSince + leftOutWindow : Clock::time_point::max();
}

void JobBook::writeLeftOut() {
    if (!leftOut)
        return;
    leftOut->end = std::chrono::system_clock::now();
    if (!append(leftOut->json()))
        logUnwritten();
    leftOut.reset();
}

bool JobBook::append(const std::string& receipt) const {
    return FileSystem::append(receiptsPath(config), receipt + "\n");
}

void JobBook::logUnwritten() const {
    log.log(String("Cannot write the receipt of a job into ") + receiptsPath(config));
}

void JobBook::moveLogsAside() {
    moveAside(receiptsPath(config), config.mostLogBytes);
    const String hostLog = config.dataFolder + "MaxLog.txt";
    // The host of a server that was killed may still be at it.
    if (!FileSystem::isBeingWritten(hostLog))
        moveAside(hostLog, config.mostLogBytes);
}

}  // namespace Orvane
