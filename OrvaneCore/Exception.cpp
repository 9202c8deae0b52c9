#include "OrvaneCore/Exception.h"

#include <utility>

namespace Orvane {

Exception::Exception(String text, std::uint32_t number) : message(std::move(text)), code(number) {}

const char* Exception::what() const noexcept {
    return message.narrow();
}

Exception fileException(const String& path) {
    return Exception(String("Cannot open/read/write file '") + path + "'", fileErrorCode);
}

}  // namespace Orvane
