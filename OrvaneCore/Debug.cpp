#include "OrvaneCore/Debug.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <map>
#include <mutex>
#include <sstream>
#include <utility>

#include "OrvaneCore/DebugPlatform.h"
#include "OrvaneCore/DevelopmentVersion.h"
#include "OrvaneCore/LocalTime.h"
#include "OrvaneCore/Str.h"

namespace Orvane::Debug {

const double noValue = std::numeric_limits<double>::min();

namespace {

using Site = std::pair<int, std::string>;  // compared by line first

std::recursive_mutex assertLock;
bool ignoreAllAsserts = false;     // guarded by assertLock, as is all below
std::map<Site, bool> assertSites;  // true: ignored
String assertText;
AssertDialog assertDialog = nullptr;

[[noreturn]] void crash() {
    // A store to address zero, so that a debugger or crash reporter takes over at this point.
    volatile int* volatile nowhere = nullptr;
    *nowhere = 666;  // NOLINT(clang-analyzer-core.NullDereference)
    std::abort();
}

void obey(AssertChoice choice, bool& siteIgnored) {
    switch (choice) {
        case AssertChoice::Continue:
            return;
        case AssertChoice::IgnoreSite:
            siteIgnored = true;
            return;
        case AssertChoice::IgnoreAll:
            ignoreAllAsserts = true;
            return;
        case AssertChoice::Exit:
            std::_Exit(1);
        case AssertChoice::Crash:
            crash();
    }
}

std::string decimal(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

}  // namespace

void setAssertDialog(AssertDialog dialog) {
    const std::lock_guard<std::recursive_mutex> hold(assertLock);
    assertDialog = dialog;
}

bool shouldBreak(const char* file, int line) {
    assertLock.lock();
    if (ignoreAllAsserts)
        return false;
    const bool ignored = assertSites.try_emplace(Site(line, file), false).first->second;
    return !ignored && DebugPlatform::isDebuggerAttached();
}

void reportAssert(const char* file, int line, const char* condition, const String& extra) {
    const std::lock_guard<std::recursive_mutex> hold(assertLock);
    bool& ignored = assertSites.try_emplace(Site(line, file), false).first->second;
    if (ignoreAllAsserts || ignored)
        return;
    DebugPlatform::beep();
    assertText = String("File: ") + file + "\r\nLine: " + Str::toWString(line) +
                 "\r\nCondition: " + condition;
    if (!extra.isEmpty())
        assertText += "\r\n" + extra;
    if (assertDialog == nullptr) {
        DebugPlatform::runtimeAssertReport("false", "..\\OrvaneCore\\Debug.cpp", 121);
        return;
    }
    obey(assertDialog(assertText), ignored);
}

void reportAssertVars(const char* file, int line, const char* condition, double first,
                      double second) {
    std::string extra;
    if (first != noValue)
        extra += "Var 1: " + decimal(first);
    if (second != noValue)
        extra += "Var 2: " + decimal(second);
    reportAssert(file, line, condition, String(extra));
}

void debugPrint(const String& message) {
    if (!isDevelopmentVersion())
        return;
    const std::tm now = localTime(std::time(nullptr));
    const auto number = [](int value) { return Str::toWString(std::int32_t{value}); };
    DebugPlatform::writeToDebugger(String("#ORVANE (") + number(now.tm_hour) + ":" +
                                   number(now.tm_min) + ":" + number(now.tm_sec) + ")  " + message +
                                   "\n");
}

}  // namespace Orvane::Debug
