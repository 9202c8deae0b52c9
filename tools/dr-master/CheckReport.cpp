#include "CheckReport.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace Orvane {

void CheckReport::add(Finding finding) {
    if (!json)
        print(finding);
    findings.push_back(std::move(finding));
}

void CheckReport::print(const Finding& finding) const {
    std::printf("%-10s %-6s %s\n", finding.subject.c_str(), finding.isOk() ? "ok" : "WRONG",
                finding.text.c_str());
    std::istringstream remedy(finding.remedy);
    for (std::string line; std::getline(remedy, line);)
        std::printf("%-17s %s\n", "", line.c_str());
    std::fflush(stdout);
}

ExitStatus CheckReport::finish() const {
    const auto wrong = std::find_if(findings.begin(), findings.end(),
                                    [](const Finding& finding) { return !finding.isOk(); });
    const ExitStatus status = wrong == findings.end() ? ExitStatus::Success : wrong->status;
    if (json)
        printJson(status);
    return status;
}

void CheckReport::printJson(ExitStatus status) const {
    nlohmann::ordered_json document;
    document["server"] = server;
    document["ok"] = status == ExitStatus::Success;
    document["status"] = static_cast<int>(status);
    for (const Finding& finding : findings) {
        auto& entry = document["checks"][finding.subject];
        entry["ok"] = finding.isOk();
        entry["status"] = static_cast<int>(finding.status);
        entry["text"] = finding.text;
        if (!finding.remedy.empty())
            entry["remedy"] = finding.remedy;
        entry.update(finding.figures.is_null() ? entry : finding.figures);
    }
    // A name typed in another encoding must not cost the report.
    constexpr int indent = 2;
    const auto onBadText = nlohmann::ordered_json::error_handler_t::replace;
    std::printf("%s\n", document.dump(indent, ' ', false, onBadText).c_str());
}

}  // namespace Orvane
