#include "app/CommandLine.h"
#include "app/Console.h"
#include "app/desktop/DrApp.h"
#include "app/desktop/RunningInstance.h"

wxIMPLEMENT_APP_NO_MAIN(Orvane::DrApp);

int main(int count, char** values) {
    using namespace Orvane;
    if (const auto status =
            obeyCommandLine("dr-server", RunningInstance::options(), typedArguments(count, values)))
        return *status;
    if (const auto status = RunningInstance::leaveTheWork())
        return *status;
    return wxEntry(count, values);
}
