#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "OutputFolder.h"
#include "farm/Frame.h"
#include "farm/SerialView.h"

namespace Orvane {

/// Writes result.exr and result.png while images still come, on a thread of its own that lives as
/// long as the object. It takes a small part of one processor's time, however large they are.
class ResultRefresh {
  public:
    ResultRefresh(const Frame& still, OutputFolder& outputFolder, SerialView& farmView);
    ~ResultRefresh();
    ResultRefresh(const ResultRefresh&) = delete;
    ResultRefresh& operator=(const ResultRefresh&) = delete;

  private:
    void run();
    /// False when the object is to go.
    bool sleep(std::chrono::milliseconds time);
    void write();

    const Frame& frame;
    OutputFolder& folder;
    SerialView& view;
    int written = 0;  // images
    bool complained = false;
    std::mutex mutex;  // guards the next two
    bool isOver = false;
    std::condition_variable over;
    std::thread thread;
};

}  // namespace Orvane
