// Runs a command line whenever the benchmark sends a byte and answers with one when it has ended:
// what a host's start and end take without a server.
#include <cstdio>
#include <cstdlib>

#include "bench/Ports.h"
#include "protocol/Connection.h"

int main(int argc, char** argv) {
    const auto benchmark = Orvane::Connection::connect("127.0.0.1", Bench::launcherPort, 5);
    if (argc != 2 || benchmark == nullptr) {
        std::fputs("usage: bench-launcher COMMAND-LINE, beside its benchmark\n", stderr);
        return 2;
    }
    benchmark->setTimeout(600);
    for (char byte = 0; benchmark->read(&byte, 1) == 1;) {
        if (std::system(argv[1]) != 0 || benchmark->write(&byte, 1) != 1)
            return 1;
    }
    return 0;
}
