#include "OrvaneCore/LocalTime.h"

namespace Orvane {

std::tm localTime(std::time_t time) {
    std::tm broken{};
    localtime_s(&broken, &time);
    return broken;
}

}  // namespace Orvane
