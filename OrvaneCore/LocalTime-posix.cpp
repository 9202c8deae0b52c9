#include "OrvaneCore/LocalTime.h"

namespace Orvane {

std::tm localTime(std::time_t time) {
    std::tm broken{};
    localtime_r(&time, &broken);
    return broken;
}

}  // namespace Orvane
