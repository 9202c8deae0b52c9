#include "OrvaneCore/LogFile.h"

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"

namespace Orvane {

void LogFile::open(const String& newPath, bool append, bool share) {
    using FileSystem::Sharing;
    close();
    stream =
        FileSystem::openFile(newPath, append ? "a+" : "w", share ? Sharing::All : Sharing::DenyAll);
    if (stream == nullptr)
        throw fileException(newPath);
    path = newPath;
}

void LogFile::write(const char* ansi) {
    if (stream == nullptr)
        return;
    std::fputs(ansi, stream);
    std::fflush(stream);
}

void LogFile::close() {
    if (stream != nullptr)
        std::fclose(stream);
    stream = nullptr;
    path.truncate(0);
}

}  // namespace Orvane
