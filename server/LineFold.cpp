#include "server/LineFold.h"

#include "OrvaneCore/Str.h"

namespace Orvane {

void LineFold::write(const String& line) {
    if (admit())
        log.log(line);
}

bool LineFold::admit() {
    tick();
    if (lines == 0)
        windowStart = Clock::now();
    return ++lines <= mostLines;
}

void LineFold::tick() {
    if (lines == 0 || Clock::now() - windowStart < window)
        return;
    if (lines > mostLines)
        log.log(String("Left out ") + Str::toWString(lines - mostLines) + " more lines \"" +
                kindName + "\" of the last 10 seconds");
    lines = 0;
}

}  // namespace Orvane
