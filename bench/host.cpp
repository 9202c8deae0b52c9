// Stands for 3dsmaxcmd.exe: tells the benchmark that it runs and stays until the benchmark lets go.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

int main(int /*argc*/, char** argv) {
    const std::string self = argv[0];
    const std::string path = self.substr(0, self.rfind('/') + 1) + "bench.socket";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        return 1;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    char byte = 'x';
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        write(socket, &byte, 1) != 1)
        return 1;
    return read(socket, &byte, 1) == 0 ? 0 : 1;
}
