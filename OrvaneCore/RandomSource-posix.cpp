#include "OrvaneCore/RandomSource.h"

#include <sys/random.h>

namespace Orvane {

std::uint32_t randomNumber() {
    std::uint32_t number = 0;
    return getrandom(&number, sizeof(number), 0) == sizeof(number) ? number : 0;
}

}  // namespace Orvane
