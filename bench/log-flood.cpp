// How long the window does not answer while its server's workers log as fast as they can. Needs a
// display, the server's ports and a folder to run in; prints one line per figure.
#include <wx/app.h>
#include <wx/imagpng.h>
#include <wx/socket.h>
#include <wx/timer.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "OrvaneCore/Str.h"
#include "app/desktop/DrWindow.h"

using namespace Orvane;

namespace {

constexpr int workerCount = 4;
constexpr int linesPerWorker = 25000;
constexpr int turnPeriodMs = 2;
constexpr std::chrono::seconds calmBefore{2};
constexpr std::chrono::seconds calmAfter{8};  // several flushes, and the control's own layout

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration span) {
    return std::chrono::duration<double, std::milli>(span).count();
}

class BurstWindow : public DrWindow {
  public:
    void logAsWorker(int number) {
        for (int line = 0; line < linesPerWorker; ++line)
            log.log(String("Worker ") + Str::toWString(std::int32_t{number}) +
                    ": Started EXR dump (65,537 bytes, filename: /render/node/drData//dump" +
                    Str::toWString(std::int32_t{line}) + ".exr)");
    }
};

class BurstApp : public wxApp {
  public:
    bool OnInit() override {
        wxSocketBase::Initialize();
        wxImage::AddHandler(new wxPNGHandler);
        window = new BurstWindow;
        timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { takeTurn(); });
        timer.Start(turnPeriodMs);
        return true;
    }

  private:
    void takeTurn() {
        const auto now = Clock::now();
        auto& longest = workers.empty() ? longestBefore : longestGap;
        longest = std::max(longest, now - lastTurn);
        lastTurn = now;
        if (workers.empty() && now - started > calmBefore)
            startBurst();
        if (!workers.empty() && now - started > calmBefore + calmAfter)
            finish();
    }

    void startBurst() {
        for (int number = 0; number < workerCount; ++number)
            workers.emplace_back([this, number] { window->logAsWorker(number); });
    }

    void finish() {
        timer.Stop();
        for (std::thread& worker : workers)
            worker.join();
        std::fprintf(stderr, "longest gap before the burst: %.1f ms\n",
                     milliseconds(longestBefore));
        std::fprintf(stderr, "longest gap during %d lines: %.1f ms\n", workerCount * linesPerWorker,
                     milliseconds(longestGap));
        window->Close(true);
    }

    wxTimer timer;
    BurstWindow* window = nullptr;
    std::vector<std::thread> workers;
    Clock::time_point started = Clock::now();
    Clock::time_point lastTurn = started;
    Clock::duration longestBefore{};
    Clock::duration longestGap{};
};

}  // namespace

wxIMPLEMENT_APP(BurstApp);
