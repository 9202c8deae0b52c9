#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "OrvaneCore/CommandInterpreter.h"
#include "config/DrConfig.h"
#include "server/JobPlan.h"
#include "server/LaunchCommand.h"
#include "tests/unit/StringPrinter.h"

using namespace Orvane;

namespace {

/// Reads the lines of a real file over hosts that were known before.
void load(DrConfig& config, const std::string& lines) {
    const char* const path = "DrConfig-under-test.txt";
    std::ofstream(path, std::ios::binary) << lines;
    DrLog log;
    config.load(path, log);
}

std::string host(const DrConfig& config, std::int32_t year) {
    return toAnsi(config.hostPath(year));
}

TEST(DrConfig, RetainExrValues) {
    const std::pair<const char*, bool> cases[] = {{"RetainEXR = true", true},
                                                  {"retainexr=true", true},
                                                  {"RETAINEXRtrue", true},
                                                  {"RetainEXR = true \t\r", true},
                                                  {"RetainEXR = True", false},
                                                  {"RetainEXR = TRUE", false},
                                                  {"RetainEXR = 1", false},
                                                  {"RetainEXR = true # keep", false},
                                                  {"RetainEXR\nRetainEXR=true", true},
                                                  {"RetainEXR=true\nRetainEXR", false},
                                                  {"foo\nRetainEXR=true", false},
                                                  {"xRetainEXR = true", false},
                                                  {"2017 D:/Max\nRetainEXR=true", false}};
    for (const auto& [lines, expected] : cases) {
        DrConfig config;
        load(config, lines);
        EXPECT_EQ(config.retainExr, expected) << lines;
    }
}

TEST(DrConfig, HostSettings) {
    DrConfig config;
    EXPECT_EQ(config.hostPatience.count(), 900);
    load(config, "HostPatience = 60\nHOSTPRIORITY=Low\n");
    EXPECT_EQ(config.hostPatience.count(), 60);
    EXPECT_TRUE(config.hostHasLowPriority);
    load(config, "hostpatience=0\nHostPriority = normal\n");
    EXPECT_EQ(config.hostPatience.count(), 0);
    EXPECT_FALSE(config.hostHasLowPriority);
    for (const char* bad : {"HostPatience", "HostPatience = ", "HostPatience = -1",
                            "HostPatience = 5 s", "HostPatience 5", "HostPriority = high"}) {
        load(config, std::string(bad) + "\nRetainEXR = true\n");
        EXPECT_FALSE(config.retainExr) << bad;
    }
}

TEST(DrConfig, VersionLines) {
    DrConfig config;
    load(config, "\xE9\n2011 never read\n");
    const std::string before = host(config, 2011);
    EXPECT_NE(before, "never read");
    load(config,
         "2011 C:/Program Files/Autodesk/3ds max 2011\n"
         "  \t # 2012 comment\r\n\n"
         "2012 first\n2012   D:/Max \x80 # no comment \r\n"
         "02013 X\n"
         "2014D:/close\n+2015 sign\n"
         "2016 " +
             std::string(2000, 'x') + "\n2010 old\n2011 behind the error");
    EXPECT_EQ(host(config, 2011), "C:/Program Files/Autodesk/3ds max 2011");
    EXPECT_EQ(host(config, 2012), "D:/Max \x80 # no comment");
    EXPECT_EQ(host(config, 2013), "3 X");
    EXPECT_EQ(host(config, 2014), "D:/close");
    EXPECT_EQ(host(config, 2015), "5 sign");
    EXPECT_EQ(host(config, 2016), std::string(2000, 'x'));
    for (const int year : {2010, 2017})
        EXPECT_EQ(host(config, year), "");
    load(config, "2012\n2013");
    for (const int year : {2012, 2013})
        EXPECT_EQ(host(config, year), "");
}

TEST(LaunchCommand, KeepsItsPiecesAndOrder) {
    DrConfig config;
    config.dataFolder = "C:/node/drData/";
    const std::string scene = "C:/node/drData//received_scene_1.max";
    const std::string common =
        "3dsmaxcmd.exe\" \"" + scene + "\" -o:\"C:/node/drData//dr_out.png\" -frames:";
    const std::string options = " -continueOnError -gammaCorrection:1 -rfw:1 -sf -v:5 ";
    const std::string log = " >> \"C:/node/drData//MaxLog.txt\"";
    for (const std::string folder : {"C:/Max/", "C:\\Max\\"})
        EXPECT_EQ(toAnsi(launchCommand(folder, scene, config, {"max2014", "", "0"})),
                  "echo Starting 3ds max DR... && \"" + folder + common + "0" + options + log);
    EXPECT_EQ(toAnsi(launchCommand("C:/Max", scene, config, {"max2014", "Cam 1", ""})),
              "echo Starting 3ds max DR... && \"C:/Max/" + common + options +
                  " -camera: \"Cam 1\" " + log);
}

TEST(LaunchCommand, WritesSpecialCharactersSoThatProgramsSeeThem) {
    DrConfig config;
    config.dataFolder = "/a%b/";
    const std::string line = toAnsi(launchCommand("/$x/`y`/q\"/z\\", "/s", config, {}));
    if (specialWithinQuotes.find(u'%') == specialWithinQuotes.npos) {
        EXPECT_NE(line.find("\"/\\$x/\\`y\\`/q\\\"/z\\3dsmaxcmd.exe\""), line.npos) << line;
        EXPECT_EQ(toAnsi(withinQuotes("\\\\a\\")), "\\\\\\a\\\\");
    } else {
        EXPECT_NE(line.find("-o:\"/a%ORVANE_PERCENT%b//dr_out"), line.npos) << line;
    }
}

TEST(LaunchCommand, RefusesWhatAnInterpreterWouldActUpon) {
    const auto refusal = [](const char* frame, const char* camera) {
        return toAnsi(refusalOf({"max2014", camera, frame}));
    };
    EXPECT_EQ(refusal("", ""), "");
    EXPECT_EQ(refusal("1-5,7:a.Z+_", "Cam\xE9ra 1; | & > < ' # ! \x80"), "");
    for (int code = 1; code < 256; ++code) {
        const std::string text(1, static_cast<char>(code));
        const bool frameAllowed = (code < 128 && std::isalnum(code) != 0) ||
                                  std::string(",-.:+_").find(text) != std::string::npos;
        EXPECT_EQ(refusal(text.c_str(), "").starts_with("FrameName"), !frameAllowed) << code;
        const bool nowhereAllowed = code < 32 || code == 127 || code == '"';
        EXPECT_TRUE(!nowhereAllowed || refusal("", text.c_str()).starts_with("CameraName")) << code;
    }
}

TEST(JobPlan, ListsOfFramesMayBeAsLongAsTheCommandLine) {
    DrConfig config;
    load(config, "2014 C:/Max");
    const auto refusal = [&](std::size_t length) {
        return toAnsi(planJob({"max2014", "", String(std::string(length, '1'))}, config).refusal);
    };
    EXPECT_EQ(refusal(mostCommandCharacters - 400), "");
    EXPECT_TRUE(refusal(mostCommandCharacters - 100).starts_with("Refused job: its command line"));
}

TEST(DrConfig, MastersByAddressAndNetwork) {
    MasterList list;
    EXPECT_FALSE(list.isRestricted());
    EXPECT_TRUE(list.admits("10.0.0.1"));
    EXPECT_TRUE(list.admits(""));
    EXPECT_TRUE(list.add(" 10.1.2.3/8\t192.168.7.3 172.16.0.0/12 10.0.0.0/8"));
    EXPECT_EQ(toAnsi(list.text()), "10.0.0.0/8 192.168.7.3 172.16.0.0/12");
    for (const char* address : {"10.0.0.0", "10.255.255.255", "192.168.7.3", "172.31.0.1"})
        EXPECT_TRUE(list.admits(address)) << address;
    for (const char* address :
         {"9.255.255.255", "11.0.0.0", "192.168.7.2", "192.168.7.4", "172.32.0.0", "", "10.0.0",
          "10.0.0.1.1", "010.0.0.1", "10.0.0.256", "10.0.0.1 ", "::1", "0xa.0.0.1", "10..0.1"})
        EXPECT_FALSE(list.admits(address)) << address;
    for (const char* entry : {"", "10.0.0.1/33", "10.0.0.1/", "/8", "10.0.0.1/08", "10.0.0.1/-1",
                              "10.0.0.1,10.0.0.2", "node7", "10.0.0.1/8/8", "10.0.0"}) {
        MasterList bad;
        EXPECT_FALSE(bad.add(entry) || bad.admits("10.0.0.1")) << entry;
    }
    MasterList everybody;
    EXPECT_TRUE(everybody.add("0.0.0.0/0"));
    EXPECT_TRUE(everybody.admits("255.1.2.3"));
}

}  // namespace
