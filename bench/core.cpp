// The core library beside what a C++ programmer would otherwise take: spdlog, std::thread, fmt and
// the C library.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <locale>
#include <stdexcept>
#include <thread>
#include <vector>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/Str.h"
#include "OrvaneCore/Timestamp.h"
#include "OrvaneCore/misc/multithreading/StandbyThread.h"
#include "bench/Figures.h"
#include "bench/PairReporter.h"

using namespace Bench;
using Orvane::String;

namespace {

constexpr const char* logFileName = "bench-log.txt";
// As many as may wait for one flush, so that none is left out.
std::size_t linesPerRun = 1600000;
const std::string line = "Removed file: /home/render/drData//dump_000123.exr";

/// Runs `work` on some threads at once; seconds until all have returned.
template <class Work>
void onThreads(int count, const Work& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
}

/// Flushes as the program's main thread does, and once more when the object goes.
class Flusher {
  public:
    explicit Flusher(std::function<void()> work)
        : flush(std::move(work)), thread([this] { run(); }) {}
    ~Flusher() {
        stop = true;
        thread.join();
        flush();
    }

  private:
    void run() {
        constexpr std::chrono::milliseconds period(Orvane::DrLog::flushPeriodMs);
        // The first one comes early enough for a short run.
        for (auto next = Clock::now() + period / 5; !stop;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (Clock::now() < next)
                continue;
            flush();
            next += period;
        }
    }
    std::function<void()> flush;
    std::atomic<bool> stop = false;
    std::thread thread;
};

// Both are timed until the last line is in the file.
double logOurs(int threads) {
    std::remove(logFileName);
    Orvane::DrLog log;
    log.openFile(logFileName);
    const std::size_t each = linesPerRun / static_cast<std::size_t>(threads);
    const auto start = Clock::now();
    {
        const Flusher flusher([&log] { log.flush(); });
        onThreads(threads, [&] {
            const String own(line);
            for (std::size_t i = 0; i < each; ++i)
                log.log(own);
        });
    }
    return secondsSince(start);
}

double logSpdlog(int threads) {
    std::remove(logFileName);
    spdlog::init_thread_pool(8192, 1);
    auto logger = spdlog::create_async<spdlog::sinks::basic_file_sink_mt>("bench", logFileName);
    logger->set_pattern("%Y-%m-%d/%H:%M:%S   %v");
    const std::size_t each = linesPerRun / static_cast<std::size_t>(threads);
    const auto start = Clock::now();
    {
        const Flusher flusher([&logger] { logger->flush(); });
        onThreads(threads, [&] {
            for (std::size_t i = 0; i < each; ++i)
                logger->info(line);
        });
    }
    logger.reset();
    spdlog::shutdown();  // writes what is queued
    return secondsSince(start);
}

template <double (*log)(int)>
void logging(benchmark::State& state) {
    for ([[maybe_unused]] auto unused : state)
        state.SetIterationTime(log(static_cast<int>(state.range(0))) /
                               static_cast<double>(linesPerRun));
    const std::string stampAndEnd = "2015-06-22/14:03:07   \n";
    if (std::filesystem::file_size(logFileName) != linesPerRun * (stampAndEnd.size() + line.size()))
        throw std::runtime_error("lines are missing in the log");
}

void standbyThread(benchmark::State& state) {
    Orvane::StandbyThread thread;
    Clock::time_point begun;
    const auto job = [](void* at) { *static_cast<Clock::time_point*>(at) = Clock::now(); };
    thread.run(job, &begun);
    for ([[maybe_unused]] auto unused : state) {
        const auto start = Clock::now();
        thread.run(job, &begun);
        thread.waitUntilParked();
        state.SetIterationTime(std::chrono::duration<double>(begun - start).count());
    }
}

void standardThread(benchmark::State& state) {
    for ([[maybe_unused]] auto unused : state) {
        const auto start = Clock::now();
        std::thread([] {}).join();
        state.SetIterationTime(secondsSince(start));
    }
}

constexpr std::array<std::uint64_t, 4> numbers = {999, 12345678, 99999999, 123456789012345};

void grouped(benchmark::State& state) {
    for (std::size_t i = 0; state.KeepRunning(); ++i)
        benchmark::DoNotOptimize(Orvane::Str::getFormatted(numbers[i % numbers.size()]));
}

class Commas : public std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
};

void groupedByFmt(benchmark::State& state) {
    const std::locale commas(std::locale::classic(), new Commas);
    for (std::size_t i = 0; state.KeepRunning(); ++i)
        benchmark::DoNotOptimize(fmt::format(commas, "{:L}", numbers[i % numbers.size()]));
}

void stamp(benchmark::State& state) {
    for ([[maybe_unused]] auto unused : state)
        benchmark::DoNotOptimize(Orvane::getTimestamp(state.range(0) != 0));
}

void stampByStrftime(benchmark::State& state) {
    for ([[maybe_unused]] auto unused : state) {
        const std::time_t now = std::time(nullptr);
        std::tm broken{};
        localtime_r(&now, &broken);
        std::array<char, 32> text;
        std::strftime(text.data(), text.size(), "%Y-%m-%d/%H:%M:%S", &broken);
        benchmark::DoNotOptimize(text);
    }
}

benchmark::internal::Benchmark* add(const char* name, void (*function)(benchmark::State&)) {
    return benchmark::RegisterBenchmark(name, function);
}

void registerAll() {
    for (const int threads : {1, 8}) {
        const std::string stem = "DrLog::log, " + std::to_string(threads) + " thread(s)|1|";
        for (auto* made : {add((stem + "product").c_str(), logging<logOurs>),
                           add((stem + "reference").c_str(), logging<logSpdlog>)})
            made->Arg(threads)->Iterations(1)->UseManualTime();
    }
    add("StandbyThread::run to the job|1|product", standbyThread)->UseManualTime();
    add("StandbyThread::run to the job|1|reference", standardThread)->UseManualTime();
    add("Str::getFormatted|2|product", grouped);
    add("Str::getFormatted|2|reference", groupedByFmt);
    add("time stamp of a line|2|product", stamp)->Arg(0);
    add("time stamp of a line|2|reference", stampByStrftime);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "--short") {
        linesPerRun /= 10;
        --argc, ++argv;
    }
    silenceStandardOutput();
    benchmark::Initialize(&argc, argv);
    registerAll();
    PairReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
