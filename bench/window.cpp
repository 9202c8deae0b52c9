// The log window's controls and nothing behind them: no server, no log, no tray icon.
#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/frame.h>
#include <wx/hyperlink.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace {

class EmptyWindow : public wxFrame {
  public:
    EmptyWindow() : wxFrame(nullptr, wxID_ANY, "Empty") {
        constexpr int border = 3;
        auto* column = new wxBoxSizer(wxVERTICAL);
        auto* row = new wxBoxSizer(wxHORIZONTAL);
        row->Add(new wxStaticText(this, wxID_ANY, "Working directory:"));
        row->Add(new wxGenericHyperlinkCtrl(this, wxID_ANY, "folder", "folder"), 0, wxLEFT, border);
        column->Add(new wxCheckBox(this, wxID_ANY, "[DEBUG] Save sent images"), 0, wxALL, border);
        column->Add(row, 0, wxALL, border);
        column->Add(new wxStaticText(this, wxID_ANY, "Log:"), 0, wxALL, border);
        column->Add(new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxSize(600, 400),
                                   wxTE_MULTILINE | wxTE_READONLY),
                    1, wxEXPAND | wxALL, border);
        SetSizerAndFit(column);
    }
};

class EmptyApp : public wxApp {
  public:
    bool OnInit() override {
        wxApp::OnInit();
        (new EmptyWindow)->Show();
        return true;
    }
};

}  // namespace

wxIMPLEMENT_APP(EmptyApp);
