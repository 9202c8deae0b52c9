#include "server/LineFold.h"

#include "OrvaneCore/Str.h"

namespace Orvane {

void LineFold::write(const String& line) {
    if (admit(line.length()))
        log.log(line);
}

bool LineFold::admit(std::int32_t length) {
    tick();
    if (seen++ == 0)
        windowStart = Clock::now();
    if (written >= room || (written >= mostLines && characters >= mostCharacters))
        return false;
    ++written;
    characters += length;
    return true;
}

void LineFold::tick() {
    if (seen > 0 && Clock::now() - windowStart >= window)
        summarise();
}

LineFold::Clock::time_point LineFold::due() const {
    return seen > written ? windowStart + window : Clock::time_point::max();
}

void LineFold::summarise() {
    if (seen > written)
        log.log(String("Left out ") + Str::toWString(seen - written) + " more lines \"" + kindName +
                "\" of the last " + Str::toWString(static_cast<std::int32_t>(window.count())) +
                " seconds");
    seen = written = 0;
    characters = 0;
}

}  // namespace Orvane
