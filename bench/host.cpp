// Stands for 3dsmaxcmd.exe: tells the benchmark that it runs and stays until the benchmark lets go.
#include "bench/Ports.h"
#include "protocol/Connection.h"

int main() {
    const auto benchmark = Orvane::Connection::connect("127.0.0.1", Bench::hostPort, 5);
    char byte = 'x';
    if (benchmark == nullptr || benchmark->write(&byte, 1) != 1)
        return 1;
    benchmark->setTimeout(600);
    return benchmark->read(&byte, 1) == 0 ? 0 : 1;
}
