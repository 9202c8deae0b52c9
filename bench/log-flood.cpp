// What the window does while its server's workers log as fast as they can: how long it does not
// answer, when the last line is shown, and what memory it has after a million. Needs a display, the
// server's ports and a folder to run in.
#include <unistd.h>
#include <wx/app.h>
#include <wx/imagpng.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvaneCore/Str.h"
#include "app/desktop/DrWindow.h"
#include "bench/Figures.h"

using namespace Orvane;

namespace {

constexpr int workerCount = 4;
constexpr int linesPerWorker = 25000;
constexpr int floods = 10;
constexpr int turnPeriodMs = 2;
constexpr std::chrono::seconds calmBefore{2};

using Bench::Clock;

double seconds(Clock::duration span) {
    return std::chrono::duration<double>(span).count();
}

double residentBytes() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

std::string lastLine(int flood) {
    return "End of flood " + std::to_string(flood);
}

class FloodedWindow : public DrWindow {
  public:
    using DrWindow::DrWindow;

    void startFlood(int flood) {
        working = workerCount;
        for (int number = 0; number < workerCount; ++number)
            workers.emplace_back([this, number, flood] { logAsWorker(number, flood); });
    }

    bool showsEndOf(int flood) const {
        // Behind the last line feed there is an empty line.
        const int line = text().GetNumberOfLines() - 2;
        return line >= 0 && text().GetLineText(line).EndsWith(lastLine(flood));
    }

    void joinWorkers() {
        for (std::thread& worker : workers)
            worker.join();
        workers.clear();
    }

  private:
    void logAsWorker(int number, int flood) {
        for (int line = 0; line < linesPerWorker; ++line)
            log.log(String("Worker ") + Str::toWString(std::int32_t{number}) +
                    ": Started EXR dump (65,537 bytes, filename: /render/node/drData//dump" +
                    Str::toWString(std::int32_t{line}) + ".exr)");
        if (--working == 0)
            log.log(lastLine(flood));
    }

    const wxTextCtrl& text() const {
        for (const wxWindow* child : GetChildren()) {
            if (const auto* found = dynamic_cast<const wxTextCtrl*>(child))
                return *found;
        }
        throw std::logic_error("a window without a log");
    }

    std::atomic<int> working = 0;
    std::vector<std::thread> workers;
};

class FloodApp : public wxApp {
  public:
    bool OnInit() override {
        Bench::silenceStandardOutput();
        wxImage::AddHandler(new wxPNGHandler);
        window = new FloodedWindow(serverFailed);
        timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { takeTurn(); });
        timer.Start(turnPeriodMs);
        return true;
    }

  private:
    void takeTurn() {
        const auto now = Clock::now();
        auto& longest = flood == 0 ? longestBefore : longestGap;
        longest = std::max(longest, now - lastTurn);
        lastTurn = now;
        if (flood == 0 ? now - started > calmBefore : window->showsEndOf(flood))
            endFlood(now);
    }

    void endFlood(Clock::time_point now) {
        window->joinWorkers();
        if (flood == 1) {
            firstShown = now - floodStart;
            longestGapOfFirst = longestGap;
        }
        if (flood == floods / 2)
            memoryInTheMiddle = residentBytes();
        if (flood == floods) {
            finish();
            return;
        }
        floodStart = Clock::now();
        window->startFlood(++flood);
    }

    void finish() {
        constexpr int mostMilliseconds = 100;
        timer.Stop();
        const double gap = seconds(longestGapOfFirst);
        Bench::print({"longest event-loop gap, 100,000 lines logged", Bench::duration(gap),
                      Bench::duration(seconds(longestBefore)) + " at its start",
                      Bench::number(gap / seconds(longestBefore)), "<= 100 ms",
                      gap * 1000 <= mostMilliseconds});
        Bench::print({"100,000 lines logged: until the last is shown",
                      Bench::duration(seconds(firstShown)), "one flush: 500 ms",
                      Bench::number(seconds(firstShown) / 0.5), "-", true});
        const double memory = residentBytes();
        Bench::print({"window's memory, 1,000,000 lines logged", megabytes(memory),
                      megabytes(memoryInTheMiddle) + " after 500,000",
                      Bench::number(memory / memoryInTheMiddle), "<= 1.25",
                      memory <= 1.25 * memoryInTheMiddle});
        window->Close(true);
    }

    static std::string megabytes(double bytes) { return Bench::number(bytes / 1e6) + " MB"; }

    wxTimer timer;
    bool serverFailed = false;
    FloodedWindow* window = nullptr;
    int flood = 0;
    double memoryInTheMiddle = 0;
    Clock::time_point started = Clock::now();
    Clock::time_point lastTurn = started;
    Clock::time_point floodStart;
    Clock::duration firstShown{};
    Clock::duration longestBefore{};
    Clock::duration longestGap{};
    Clock::duration longestGapOfFirst{};
};

}  // namespace

wxIMPLEMENT_APP(FloodApp);
