#include <gtest/gtest.h>
#include <half.h>

#include <cmath>
#include <limits>

#include "DiscoveryTargets.h"
#include "ExitStatus.h"
#include "FrameList.h"
#include "farm/FailedJobs.h"
#include "farm/Frame.h"
#include "farm/HalfFloat.h"
#include "farm/RunningMean.h"

using namespace Orvane;

namespace {

TEST(HalfFloat, EveryValue) {
    for (std::uint32_t bits = 0; bits <= std::numeric_limits<std::uint16_t>::max(); ++bits) {
        half library;
        library.setBits(static_cast<std::uint16_t>(bits));
        const float expected = library, got = floatOfHalf(static_cast<std::uint16_t>(bits));
        EXPECT_TRUE(std::isnan(expected)
                        ? std::isnan(got)
                        : got == expected && std::signbit(got) == std::signbit(expected))
            << bits;
    }
}

/// Two pixels of red, green, blue.
ReceivedImage twoPixels(float first, float second) {
    ReceivedImage image;
    image.layout.dataWindow = image.layout.displayWindow = {{0, 0}, {1, 0}};
    for (const char* name : {"B", "G", "R"}) {
        image.layout.channels.push_back({name, 1, 1});
        image.planes.push_back({{}, {first, second}});
    }
    return image;
}

TEST(RunningMean, MeanAndNoise) {
    RunningMean mean(true);
    // The second pixel is the same in every image, and says nothing.
    for (const float level : {1.0F, 2.0F, 3.0F}) {
        mean.add(twoPixels(level, 5.5F));
        EXPECT_FALSE(mean.noise());
    }
    mean.add(twoPixels(4, 5.5F));
    EXPECT_EQ(mean.count(), 4);
    for (const auto& plane : mean.mean().planes)
        EXPECT_EQ(plane, (std::vector<float>{2.5F, 5.5F}));
    // s² = 5/3, e = sqrt(5/3/4), level = (2.5 + 5.5) / 2
    EXPECT_NEAR(mean.noise().value_or(0), std::sqrt(5.0 / 12) / 4, 1e-6);
    ReceivedImage other = twoPixels(1, 1);
    other.layout.channels.front().xSampling = 2;
    EXPECT_THROW(mean.add(other), Failure);
    EXPECT_EQ(mean.count(), 4);
    EXPECT_EQ(mean.add(twoPixels(1, 1), RunningMean::Mismatch::BeginsAnew), 0);
}

TEST(Frame, AnOutvotedImageStaysUntilOthersAreWhole) {
    Frame frame("0", {});
    const ReceivedImage odd = twoPixels(1, 1);
    ReceivedImage usual = twoPixels(2, 3);
    usual.layout.displayWindow.max.x = 9;
    frame.take(odd, frame.agree("a", odd.layout));
    EXPECT_THROW(frame.agree("b", usual.layout), Failure);
    // Such an announcement alone, of a file that cannot be read, forgets nothing.
    const auto mismatch = frame.agree("c", usual.layout);
    EXPECT_EQ(frame.result().count(), 1);
    EXPECT_EQ(frame.take(usual, mismatch).forgotten, 1);
    EXPECT_EQ(frame.result().count(), 1);
    EXPECT_EQ(frame.result().mean().planes.front(), (std::vector<float>{2, 3}));
}

TEST(FailedJobs, LeaveHopeForOneThatOutlastsThem) {
    using std::chrono::seconds;
    FailedJobs jobs;
    for (const int time : {20, 50, 30}) {
        EXPECT_TRUE(jobs.mayStillSucceed(seconds(1)));
        jobs.add(seconds(time));
    }
    EXPECT_FALSE(jobs.mayStillSucceed(seconds(50)));
    EXPECT_TRUE(jobs.mayStillSucceed(seconds(51)));
}

TEST(FrameList, RangesAndSteps) {
    EXPECT_EQ(framesOf("8-10,3,200-210x5,9"), (std::vector<int>{8, 9, 10, 3, 200, 205, 210}));
    EXPECT_EQ(framesOf("2147483647"), std::vector<int>{2147483647});
    for (const char* wrong : {"", ",", "x", "1-", "-1", "5-3", "1-9x0", "1-9x", "1 2", "1-9y2",
                              "0-2147483647", "99999999999"})
        EXPECT_THROW(framesOf(wrong), Failure) << wrong;
}

TEST(DiscoveryTargets, Networks) {
    EXPECT_EQ(discoveryTargets({"10.1.2.5/30", "10.9.9.9"}),
              (std::vector<std::string>{"10.1.2.5", "10.1.2.6", "10.9.9.9"}));
    EXPECT_EQ(discoveryTargets({"10.1.2.5/32"}), std::vector<std::string>{"10.1.2.5"});
    EXPECT_EQ(discoveryTargets({"10.1.0.0/20"}).size(), 4094U);
    for (const char* wrong : {"10.1.2.0/8", "10.1.2/24", "10.1.2.256/24", "10.1.2.0/", "a/24",
                              "10.1.2.3.4/24", "10.1.2.0/33"})
        EXPECT_THROW(discoveryTargets({wrong}), Failure) << wrong;
}

}  // namespace
