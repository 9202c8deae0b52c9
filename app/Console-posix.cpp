#include "app/Console.h"

#include <cstdio>

namespace Orvane {

std::vector<String> typedArguments(int count, const char* const* values) {
    // There is none at all if somebody starts the program without even its name.
    return {values + (count > 0 ? 1 : 0), values + count};
}

void showAnswer(const String& text, Answer kind) {
    std::FILE* const stream = kind == Answer::Error ? stderr : stdout;
    std::fputs(text.narrow(), stream);
    std::fflush(stream);
}

}  // namespace Orvane
