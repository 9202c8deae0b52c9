#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "OrvaneCore/Debug.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "server/LineFold.h"
#include "tests/unit/StringPrinter.h"

using namespace Orvane;

namespace {

struct Work {
    std::atomic<bool> mayEnd = false;
    std::atomic<int> runs = 0;
    std::vector<std::thread::id> threads;

    static void run(void* self) {
        auto* work = static_cast<Work*>(self);
        work->threads.push_back(std::this_thread::get_id());
        while (!work->mayEnd)
            std::this_thread::yield();
        ++work->runs;
    }
};

TEST(StandbyThread, RunsOneJobAtATimeOnOneThread) {
    const StandbyThread neverUsed;
    Work first, second;
    {
        StandbyThread worker;
        EXPECT_FALSE(worker.isBusy());
        worker.setup(0x100000, "MY_Worker");
        worker.run(Work::run, &first);
        worker.setup(1, "too late to matter");
        EXPECT_TRUE(worker.isBusy());
        EXPECT_FALSE(worker.waitUntilParked(std::chrono::milliseconds(10)));
        std::thread starter([&] { worker.run(Work::run, &second); });
        first.mayEnd = true;
        starter.join();
        EXPECT_EQ(first.runs, 1);
        EXPECT_TRUE(worker.isBusy());
        second.mayEnd = true;
        worker.waitUntilParked();
        EXPECT_FALSE(worker.isBusy());
        worker.run(Work::run, &second);
    }
    EXPECT_EQ(second.runs, 2);
    ASSERT_EQ(second.threads.size(), 2U);
    EXPECT_EQ(second.threads[0], first.threads[0]);
    EXPECT_EQ(second.threads[1], first.threads[0]);
}

TEST(StandbyThreadDeathTest, AFailedJobTakesTheProgramDown) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH_IF_SUPPORTED(
        {
            StandbyThread worker;
            worker.run([](void*) { throw Exception("no \x80 left"); }, nullptr);
            worker.waitUntilParked();
        },
        "WTF\nno \x80 left");
}

std::vector<String> reports;
Debug::AssertChoice nextChoice = Debug::AssertChoice::Continue;

TEST(Debug, ReportsAssertsUntilTheyAreIgnored) {
    using Debug::AssertChoice;
    Debug::setAssertDialog([](const String& text) {
        reports.push_back(text);
        return nextChoice;
    });
    const auto reportsOf = [](int line) {
        reports.clear();
        Debug::reportAssert("a.cpp", line, "x > 1", "");
        return reports.size();
    };
    EXPECT_EQ(reportsOf(1), 1U);
    EXPECT_EQ(reports.at(0), String("File: a.cpp\r\nLine: 1\r\nCondition: x > 1"));
    nextChoice = AssertChoice::IgnoreSite;
    EXPECT_EQ(reportsOf(1), 1U);
    nextChoice = AssertChoice::Continue;
    EXPECT_EQ(reportsOf(1), 0U);
    EXPECT_EQ(reportsOf(2), 1U);
    Debug::reportAssertVars("b.cpp", 1, "y", 1.5, Debug::noValue);
    EXPECT_EQ(reports.at(1), String("File: b.cpp\r\nLine: 1\r\nCondition: y\r\nVar 1: 1.5"));
    Debug::reportAssertVars("b.cpp", 1, "y", Debug::noValue, -2);
    EXPECT_TRUE(Str::endsWith(reports.at(2), u"Condition: y\r\nVar 2: -2"));
    nextChoice = AssertChoice::IgnoreAll;
    EXPECT_EQ(reportsOf(3), 1U);
    EXPECT_EQ(reportsOf(4), 0U);
    Debug::setAssertDialog(nullptr);
}

struct Screen : LogView {
    void append(const String& batch) override { text += batch; }
    String text;
};

int linesIn(const String& text, std::u16string_view what) {
    int count = 0;
    for (std::int32_t at = text.find(what); at != String::notFound; at = text.find(what, at + 1))
        ++count;
    return count;
}

TEST(DrLog, CollectsLinesOfAllThreadsAndClosesAfterTheBatch) {
    DrLog log;
    Screen screen;
    bool closed = false;
    log.setView(&screen);
    log.setCloseHandler([&] { closed = true; });
    std::thread worker([&] {
        for (int i = 0; i < 100; ++i)
            log.log("from the worker");
    });
    for (int i = 0; i < 100; ++i)
        log.log(String(std::u16string_view(u"a\0b", 3)));
    worker.join();
    log.log("");
    log.requestClose();
    EXPECT_TRUE(screen.text.isEmpty() && !closed);
    testing::internal::CaptureStdout();
    log.flush();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), toAnsi(screen.text));
    EXPECT_TRUE(closed);
    EXPECT_EQ(linesIn(screen.text, u"   from the worker\n"), 100);
    EXPECT_EQ(linesIn(screen.text, u"   a\n"), 100);
    EXPECT_TRUE(Str::endsWith(screen.text, u"   \n"));
    EXPECT_EQ(linesIn(screen.text, u"\n"), 201);
}

TEST(LineFold, TurnsAFloodIntoACount) {
    DrLog log;
    Screen screen;
    log.setView(&screen);
    LineFold fold(log, "Kind");
    const String line = std::string(LineFold::mostCharacters / 10, 'x') + "line";
    for (int i = 0; i < LineFold::mostLines + 5; ++i)
        fold.write(line);
    std::this_thread::sleep_for(LineFold::window);
    fold.tick();
    fold.write(line);
    testing::internal::CaptureStdout();
    log.flush();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(linesIn(screen.text, u"xline\n"), LineFold::mostLines + 1);
    EXPECT_EQ(linesIn(screen.text, u"Left out 5 more lines \"Kind\" of the last 10 seconds\n"), 1);
}

}  // namespace
