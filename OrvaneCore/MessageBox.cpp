#include "OrvaneCore/MessageBox.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace Orvane {

const char* const errorCaption = "Orvane DR Server Error";

namespace {

std::mutex handlerLock;
MessageBoxHandler installedHandler;

void writeToStandardError(const String& caption, const String& text) {
    std::fprintf(stderr, "%s\n%s\n", toAnsi(caption).c_str(), toAnsi(text).c_str());
    std::fflush(stderr);
}

}  // namespace

void setMessageBoxHandler(MessageBoxHandler handler) {
    const std::lock_guard<std::mutex> hold(handlerLock);
    installedHandler = std::move(handler);
}

void showMessageBox(const String& caption, const String& text) {
    MessageBoxHandler handler;
    {
        const std::lock_guard<std::mutex> hold(handlerLock);
        handler = installedHandler;
    }
    handler ? handler(caption, text) : writeToStandardError(caption, text);
}

}  // namespace Orvane
