// The report is wanted whatever the build type; without this, releases do not declare it.
#undef NDEBUG
#include "OrvaneCore/DebugPlatform.h"

#include <cassert>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "OrvaneCore/Str.h"

namespace Orvane::DebugPlatform {

bool isDebuggerAttached() {
    std::ifstream status("/proc/self/status");
    const std::string label = "TracerPid:";
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(label))
            return Str::leadingInteger(line.substr(label.size())) != 0;
    }
    return false;
}

void beep() {
    std::fputc('\a', stderr);
}

void runtimeAssertReport(const char* expression, const char* file, unsigned line) {
    __assert_fail(expression, file, line, "reportAssert");
}

void writeToDebugger(const String& text) {
    std::fputs(toAnsi(text).c_str(), stderr);
}

Debug::AssertChoice askUser(const String& text) {
    using Debug::AssertChoice;
    std::cerr << toAnsi(text) << "\n(c)ontinue, (i)gnore here, (e)xit, c(r)ash, ignore (a)ll? "
              << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    switch (answer.empty() ? 'c' : answer.front()) {
        case 'i':
            return AssertChoice::IgnoreSite;
        case 'e':
            return AssertChoice::Exit;
        case 'r':
            return AssertChoice::Crash;
        case 'a':
            return AssertChoice::IgnoreAll;
        default:
            return AssertChoice::Continue;
    }
}

}  // namespace Orvane::DebugPlatform
