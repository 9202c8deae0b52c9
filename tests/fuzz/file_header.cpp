#include <cstring>

#include "OrvaneCore/Exception.h"
#include "protocol/FileTransfer.h"
#include "stream.h"

using namespace Orvane;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = "/dev/shm/fuzz-file-" + std::to_string(getpid());
    const std::string_view sent = bytesOf(data, size);
    const std::string_view body = sent.substr(std::min<std::size_t>(size, 8));
    std::int64_t announced = -1;
    if (size >= 8)
        std::memcpy(&announced, data, 8);
    bool whole = false;
    try {
        whole = receiveFile(*streamOf(sent), path) == 0;
    } catch (const Exception&) {
        mustHold(announced > static_cast<std::int64_t>(body.size()));
    }
    mustHold(whole == (announced >= 0 && announced <= static_cast<std::int64_t>(body.size())));
    if (whole) {
        std::string received(static_cast<std::size_t>(announced), '\0');
        InputFile(path).read(received.data(), received.size());
        mustHold(received == body.substr(0, received.size()));
    }
    unlink(path.c_str());
    return 0;
}
