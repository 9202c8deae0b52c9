#include "app/CommandLine.h"
#include "app/Console.h"
#include "app/desktop/DrApp.h"

wxIMPLEMENT_APP_NO_MAIN(Orvane::DrApp);

int main(int count, char** values) {
    using namespace Orvane;
    if (const auto status = obeyCommandLine("dr-server", typedArguments(count, values)))
        return *status;
    return wxEntry(count, values);
}
