#include "app/desktop/MessageBoxWindows.h"

#include <wx/app.h>
#include <wx/msgdlg.h>
#include <wx/thread.h>

#include <future>
#include <memory>

#include "OrvaneCore/MessageBox.h"
#include "app/desktop/DisplayText.h"

namespace Orvane {

std::atomic<int> MessageBoxWindows::open = 0;

namespace {

void showBox(const String& caption, const String& text) {
    const bool isWarning = caption == String(errorCaption);
    wxMessageBox(displayText(text), displayText(caption),
                 isWarning ? wxOK | wxICON_EXCLAMATION : wxOK);
}

void showBoxOfWorker(const String& caption, const String& text) {
    // Shared, because the worker may be gone before the promise has finished being kept.
    const auto dismissed = std::make_shared<std::promise<void>>();
    wxTheApp->CallAfter([caption, text, dismissed] {
        showBox(caption, text);
        dismissed->set_value();
    });
    dismissed->get_future().wait();
}

}  // namespace

MessageBoxWindows::MessageBoxWindows() {
    setMessageBoxHandler([](const String& caption, const String& text) {
        ++open;
        wxIsMainThread() ? showBox(caption, text) : showBoxOfWorker(caption, text);
        --open;
    });
}

MessageBoxWindows::~MessageBoxWindows() {
    setMessageBoxHandler(nullptr);
}

}  // namespace Orvane
