#pragma once

#include <memory>
#include <mutex>

#include "farm/FarmView.h"

namespace Orvane {

/// Lets many threads speak to one view.
class SerialView {
  public:
    explicit SerialView(std::unique_ptr<FarmView> farmView) : view(std::move(farmView)) {}

    template <typename... Parameters, typename... Arguments>
    void tell(void (FarmView::*news)(Parameters...), Arguments&&... arguments) {
        const std::lock_guard lock(mutex);
        (view.get()->*news)(std::forward<Arguments>(arguments)...);
    }

  private:
    std::mutex mutex;
    std::unique_ptr<FarmView> view;
};

}  // namespace Orvane
