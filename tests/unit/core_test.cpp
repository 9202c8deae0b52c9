#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <regex>
#include <set>
#include <thread>
#include <vector>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/RegistryFile.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/TextFileReader.h"
#include "OrvaneCore/Timestamp.h"
#include "tests/unit/StringPrinter.h"

using namespace Orvane;

namespace {

void writeFile(const char* path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

TEST(TextConversion, EveryByteGoesThroughBothWays) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const String wide(all);
    ASSERT_EQ(wide.length(), 255);
    EXPECT_EQ(toAnsi(wide), all);
    EXPECT_EQ(std::string(wide.narrow()), all);
    EXPECT_TRUE(wide.view().substr(0x80 - 1, 3) == u"\u20AC\u0081\u201A");
    EXPECT_TRUE(wide.view().substr(0xE9 - 1, 1) == u"\u00E9");
    // Nor does a letter become one that looks like it.
    EXPECT_EQ(toAnsi(String(u"\u4E2D\u20AC\u0416\u0141")), "?\x80??");
    EXPECT_TRUE(toWide("").isEmpty());
}

TEST(String, IsAValue) {
    String text("drei");
    text += String(text);
    text.append(text.view().substr(2, 4));
    EXPECT_EQ(text, String("dreidreieidr"));
    const String copy = text;
    const String moved = std::move(text);
    text = copy + "!" + moved;
    EXPECT_EQ(text.length(), 25);
    text.truncate(4);
    text.truncate(9);
    EXPECT_EQ(text, String("drei"));
    EXPECT_EQ(text.terminated()[4], u'\0');
    EXPECT_EQ(std::string("x") + text.narrow(), "xdrei");
    EXPECT_EQ(text.narrowSize(), 4);
    String& same = text;
    text = same;
    String other;
    text.swap(other);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_STREQ(text.narrow(), "");
    EXPECT_EQ(other.find(u"ei"), 2);
    EXPECT_EQ(other.find(u"ei", 3), 2147483647);
    EXPECT_EQ(copy, moved);
}

TEST(Str, TrimsSearchesAndReplaces) {
    String text("\n\t\v\f\r a b \r\n");
    EXPECT_EQ(Str::firstNonWhitespace(text), 6);
    EXPECT_EQ(Str::lastNonWhitespace(text), 8);
    Str::trimWhitespace(text);
    EXPECT_EQ(text, String("a b"));
    String blanks(" \t ");
    EXPECT_EQ(Str::firstNonWhitespace(blanks), String::notFound);
    Str::trimWhitespace(blanks);
    EXPECT_TRUE(blanks.isEmpty());
    EXPECT_EQ(Str::lastNonWhitespace(blanks), String::notFound);
    String path("C:\\A\\B\\");
    Str::replaceAll(path, u"\\", u"/");
    EXPECT_EQ(path, String("C:/A/B/"));
    String growing("aaa");
    Str::replaceAll(growing, u"aa", u"aaaa");
    EXPECT_EQ(growing, String("aaaaa"));
    String mixed("ABC\xC9");
    Str::toLower(mixed);
    EXPECT_EQ(mixed, String("abc\xC9"));
    EXPECT_FALSE(Str::endsWith(String("ue"), u"true"));
}

TEST(Str, GroupsDigits) {
    const std::pair<std::uint64_t, const char*> cases[] = {
        {0, "0"},
        {999, "999"},
        {1000, "1,000"},
        {12345678, "12,345,678"},
        {99999999, "99,999,999"},
        {100000000, "100 M"},
        {100999999, "100 M"},
        {1234567890, "1,234 M"},
        {std::numeric_limits<std::uint64_t>::max(), "18,446,744,073,709 M"}};
    for (const auto& [number, text] : cases)
        EXPECT_EQ(Str::getFormatted(number), String(text));
    EXPECT_EQ(Str::toWString(std::int32_t{-1234567}), String("-1234567"));
}

std::string stampOf(std::time_t time, const char* format) {
    char text[32];
    std::strftime(text, sizeof(text), format, std::localtime(&time));
    return text;
}

TEST(Timestamp, IsTheLocalTime) {
    std::tm early{};
    early.tm_year = 2015 - 1900;
    early.tm_mon = 1;
    early.tm_mday = 1;
    EXPECT_EQ(getDate(early), String("2015-02-01"));
    const std::time_t before = std::time(nullptr);
    const std::string line = toAnsi(getTimestamp(false)), file = toAnsi(getTimestamp(true));
    const std::time_t after = std::time(nullptr);
    EXPECT_GE(line, stampOf(before, "%Y-%m-%d/%H:%M:%S"));
    EXPECT_LE(line, stampOf(after, "%Y-%m-%d/%H:%M:%S"));
    EXPECT_GE(file, stampOf(before, "%Y-%m-%d %H-%M-%S"));
    EXPECT_LE(file, stampOf(after, "%Y-%m-%d %H-%M-%S"));
    EXPECT_EQ(line.size(), 19U);
}

TEST(TextFileReader, ReadsLinesOfAnyLength) {
    const std::string longLine(3000, 'x');
    writeFile("reader.txt",
              longLine + "\n\n\x80" + std::string(1022, 'y') + std::string("\nl\0a\0s\0t", 8));
    TextFileReader reader;
    reader.open("reader.txt");
    String line;
    for (const std::string& expected :
         {longLine, std::string(), "\x80" + std::string(1022, 'y'), std::string("last")}) {
        EXPECT_FALSE(reader.atEnd());
        reader.readLine(line);
        EXPECT_EQ(toAnsi(line), expected);
    }
    reader.readLine(line);
    EXPECT_EQ(line, String());
    EXPECT_TRUE(reader.atEnd());
    const char* const message = "Cannot open/read/write file 'no folder/caf\xE9'";
    try {
        reader.open("no folder/caf\xE9");
        FAIL();
    } catch (const Exception& failure) {
        EXPECT_STREQ(failure.what(), message);
        EXPECT_EQ(failure.getMessage(), String(message));
        EXPECT_EQ(failure.getCode(), 456U);
    }
}

TEST(FileSystem, HasNoLimitForPaths) {
    using namespace FileSystem;
    String folder = workingDirectory() + "/long";
    makeFolder(folder);
    for (int level = 0; level < 8; ++level) {
        folder += "/" + String(std::string(50, 'x'));
        makeFolder(folder);
    }
    const String file = folder + "//dump1.exr";
    std::FILE* stream = openFile(file, "a+", Sharing::All);
    ASSERT_NE(stream, nullptr);
    std::fputs("image", stream);
    std::fclose(stream);
    EXPECT_TRUE(isFolder(folder));
    EXPECT_TRUE(isRegularFile(file));
    EXPECT_FALSE(isRegularFile(folder));
    EXPECT_EQ(fileSize(file), 5);
    EXPECT_TRUE(copyFile(file, folder + "/copy"));
    EXPECT_TRUE(freeSpace(folder).has_value());
    EXPECT_EQ(Listing(folder, "du").next()->name, String("dump1.exr"));
    EXPECT_TRUE(deleteFile(file));
    EXPECT_FALSE(isRegularFile(file));
    EXPECT_TRUE(deleteFile(folder + "/copy"));
}

TEST(RegistryFile, FindsEntriesWhateverTheirCase) {
    writeFile("registry.ini",
              "Installdir=outside\n; comment\n[SOFTWARE/A/1.0]\r\n#Installdir=no\nEmpty=\r\n"
              " installDIR = C:\\Program Files\\A=B\\ \n[software\\a\\1.0\\MAX-1:409]\n"
              "Installdir=second\nInstalldir=third\n");
    const std::pair<const char*, const char*> cases[] = {
        {"SOFTWARE/A/1.0", "C:\\Program Files\\A=B\\"},
        {"Software\\a\\1.0", "C:\\Program Files\\A=B\\"},
        {"SOFTWARE/A/1.0/max-1:409", "second"}};
    String value;
    for (const auto& [key, expected] : cases) {
        EXPECT_TRUE(readRegistryFile("registry.ini", key, "Installdir", value));
        EXPECT_EQ(value, String(expected));
    }
    EXPECT_TRUE(readRegistryFile("registry.ini", "SOFTWARE/A/1.0", "Empty", value));
    EXPECT_TRUE(value.isEmpty());
    EXPECT_FALSE(readRegistryFile("registry.ini", "SOFTWARE/A", "Installdir", value));
    EXPECT_FALSE(readRegistryFile("registry.ini", "SOFTWARE/A/1.0", "Other", value));
    EXPECT_FALSE(readRegistryFile("no file", "SOFTWARE/A/1.0", "Installdir", value));
}

TEST(DrLog, MovesItsFileAsideAndLosesNothing) {
    constexpr int writers = 4;
    constexpr int linesEach = 25000;
    const std::string path = "limited.txt";
    writeFile((path + ".2").c_str(), "older\n");
    testing::internal::CaptureStdout();
    DrLog log;
    log.limitFile(2'000'000);
    log.openFile(path);
    std::FILE* const viewer = std::fopen(path.c_str(), "r");
    std::atomic<int> working = writers;
    std::vector<std::thread> threads;
    threads.reserve(writers);
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back([&log, &working, writer] {
            for (int line = 0; line < linesEach; ++line)
                log.log(std::to_string(writer * linesEach + line) + std::string(50, '.'));
            --working;
        });
    while (working > 0)
        log.flush();
    for (std::thread& thread : threads)
        thread.join();
    log.flush();
    std::fclose(viewer);
    testing::internal::GetCapturedStdout();
    std::set<int> found;
    int files = 0;
    int lines = 0;
    for (const char* const number : {"", ".1", ".2", ".3", ".4", ".5"}) {
        std::ifstream file(path + number);
        files += file.is_open() ? 1 : 0;
        for (std::string line; std::getline(file, line);)
            if (line != "older" && ++lines > 0)
                found.insert(std::stoi(line.substr(line.rfind(' '))));
        file.close();
        std::remove((path + number).c_str());
    }
    EXPECT_EQ(lines, writers * linesEach);
    EXPECT_EQ(found.size(), writers * linesEach);
    EXPECT_GE(files, 3);
}

}  // namespace
