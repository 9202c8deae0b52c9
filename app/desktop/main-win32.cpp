#include "app/CommandLine.h"
#include "app/Console.h"
#include "app/desktop/DrApp.h"
#include "app/desktop/RunningInstance.h"

wxIMPLEMENT_APP_NO_MAIN(Orvane::DrApp);

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, char* /*commandLine*/, int show) {
    using namespace Orvane;
    if (const auto status =
            obeyCommandLine("dr-server", RunningInstance::options(), typedArguments(0, nullptr)))
        return *status;
    if (const auto status = RunningInstance::leaveTheWork())
        return *status;
    return wxEntry(instance, previous, nullptr, show);
}
