// How much of the processors this machine leaves to a program that wants them all: one thread per
// processor does the same work for a tenth of a second. Prints the smallest share that a thread got
// of its time, and the work done per second of processor time, in units of no meaning.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

struct Share {
    double ofTime = 0;
    double speed = 0;
};

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

Share work() {
    using Clock = std::chrono::steady_clock;
    constexpr double seconds = 0.1;
    std::uint64_t value = 1;
    double blocks = 0;
    double took = 0;
    const double before = threadSeconds();
    const auto start = Clock::now();
    for (; took < seconds; ++blocks) {
        for (int i = 0; i < 10000; ++i)
            value = value * 6364136223846793005U + 1442695040888963407U;
        took = std::chrono::duration<double>(Clock::now() - start).count();
    }
    const double processor = threadSeconds() - before;
    // Never so, which the compiler does not know.
    if (value == 0)
        std::puts("zero");
    return {processor / took, blocks / processor};
}

}  // namespace

int main() {
    std::vector<Share> shares(std::max(std::thread::hardware_concurrency(), 1U));
    std::vector<std::thread> threads;
    threads.reserve(shares.size());
    for (Share& share : shares)
        threads.emplace_back([&share] { share = work(); });
    for (std::thread& thread : threads)
        thread.join();
    Share least = shares.front();
    for (const Share& share : shares)
        least = {std::min(least.ofTime, share.ofTime), std::min(least.speed, share.speed)};
    std::printf("%.3f %.0f\n", least.ofTime, least.speed);
    return 0;
}
