#include "OrvaneCore/ConsoleText.h"

#include <windows.h>

namespace Orvane {

namespace {

UINT pageBefore = 0;

}  // namespace

ConsoleText::ConsoleText() {
    pageBefore = GetConsoleOutputCP();  // 0 without a console
    if (pageBefore != 0)
        SetConsoleOutputCP(GetACP());
}

// The console outlives the program.
ConsoleText::~ConsoleText() {
    if (pageBefore != 0)
        SetConsoleOutputCP(pageBefore);
}

}  // namespace Orvane
