#include "app/desktop/DisplayLoss.h"

namespace Orvane {

void whenDisplayIsLost(std::function<void()> /*never*/) {}

}  // namespace Orvane
