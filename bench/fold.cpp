// What a master does with an image that came, beside how long that image was on its way.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "bench/Figures.h"
#include "farm/RunningMean.h"

using namespace Bench;
using namespace Orvane;

namespace {

namespace fs = std::filesystem;

constexpr int width = 1920, height = 1080;
constexpr double networkBytesPerSecond = 1e9;

/// A picture of 16-bit floats with the noise of one pass.
void writePass(const std::string& path, Imf::Compression compression) {
    std::minstd_rand random(3);
    std::uniform_real_distribution<float> value(0.2F, 0.8F);
    std::vector<half> samples(std::size_t{width} * height);
    std::generate(samples.begin(), samples.end(), [&] { return half(value(random)); });
    Imf::Header header(width, height);
    header.compression() = compression;
    Imf::FrameBuffer buffer;
    for (const char* name : {"R", "G", "B"}) {
        header.channels().insert(name, Imf::Channel(Imf::HALF));
        buffer.insert(name, Imf::Slice(Imf::HALF, reinterpret_cast<char*>(samples.data()),
                                       sizeof(half), sizeof(half) * width));
    }
    Imf::OutputFile file(path.c_str(), header);
    file.setFrameBuffer(buffer);
    file.writePixels(height);
}

struct Kind {
    const char* name;
    Imf::Compression compression;
    bool withNoise;
    bool hasGoal;
};

void measure(const std::string& folder, const Kind& kind, int rounds) {
    const std::string path = folder + "/pass.exr";
    writePass(path, kind.compression);
    const double onItsWay = static_cast<double>(fs::file_size(path)) / networkBytesPerSecond;
    RunningMean mean(kind.withNoise);
    ReceivedImage image;
    Pairs pairs;
    for (int i = 0; i < rounds; ++i) {
        const auto start = Clock::now();
        readImage(path, mean.layout(), image);
        mean.add(image);
        // The first one also finds memory.
        if (i > 0)
            pairs.add(secondsSince(start), onItsWay);
    }
    print({std::string("fold a 1080p pass, ") + kind.name, duration(pairs.figure()),
           duration(onItsWay) + " at 1 GB/s", number(pairs.ratio()), kind.hasGoal ? "<= 1" : "-",
           pairs.ratio() <= 1});
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argv[1];
    const int rounds = argc > 2 && std::string(argv[2]) == "--short" ? 5 : 50;
    const Kind kinds[] = {{"half floats", Imf::NO_COMPRESSION, false, true},
                          {"half floats, with noise", Imf::NO_COMPRESSION, true, false},
                          {"zip", Imf::ZIP_COMPRESSION, false, false},
                          {"piz", Imf::PIZ_COMPRESSION, false, false}};
    for (const Kind& kind : kinds)
        measure(folder, kind, rounds);
}
