// How long the window does not answer while its server's workers log as fast as they can. Needs a
// display, the server's ports and a folder to run in.
#include <wx/app.h>
#include <wx/imagpng.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "OrvaneCore/Str.h"
#include "app/desktop/DrWindow.h"
#include "bench/Figures.h"

using namespace Orvane;

namespace {

constexpr int workerCount = 4;
constexpr int linesPerWorker = 25000;
constexpr int turnPeriodMs = 2;
constexpr std::chrono::seconds calmBefore{2};
constexpr std::chrono::seconds calmAfter{8};  // several flushes, and the control's own layout

using Bench::Clock;

double seconds(Clock::duration span) {
    return std::chrono::duration<double>(span).count();
}

class BurstWindow : public DrWindow {
  public:
    using DrWindow::DrWindow;

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
        Bench::silenceStandardOutput();
        wxImage::AddHandler(new wxPNGHandler);
        window = new BurstWindow(serverFailed);
        timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { takeTurn(); });
        timer.Start(turnPeriodMs);
        return true;
    }

  private:
    int linesShown() const {
        for (const wxWindow* child : window->GetChildren()) {
            if (const auto* text = dynamic_cast<const wxTextCtrl*>(child))
                return text->GetNumberOfLines();
        }
        return 0;
    }

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
        constexpr int lines = workerCount * linesPerWorker;
        Bench::print({"longest event-loop gap, 100,000 lines logged",
                      Bench::duration(seconds(longestGap)),
                      Bench::duration(seconds(longestBefore)) + " at its start",
                      Bench::number(seconds(longestGap) / seconds(longestBefore)),
                      "all lines shown", linesShown() > lines});
        window->Close(true);
    }

    wxTimer timer;
    BurstWindow* window = nullptr;
    bool serverFailed = false;
    std::vector<std::thread> workers;
    Clock::time_point started = Clock::now();
    Clock::time_point lastTurn = started;
    Clock::duration longestBefore{};
    Clock::duration longestGap{};
};

}  // namespace

wxIMPLEMENT_APP(BurstApp);
