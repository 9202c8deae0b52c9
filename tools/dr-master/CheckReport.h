#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ExitStatus.h"

namespace Orvane {

/// One thing that was looked at on a node.
// NOLINTNEXTLINE(bugprone-exception-escape): the checker mistrusts moving the JSON library's value
struct Finding {
    std::string subject;  ///< one word; a key in JSON
    ExitStatus status = ExitStatus::Success;
    std::string text;                ///< what was seen
    std::string remedy;              ///< what to do about it; empty when all is well
    nlohmann::ordered_json figures;  ///< members of its JSON form, for monitoring

    bool isOk() const { return status == ExitStatus::Success; }
};

/// The findings about one node, printed line by line as they come, or as JSON at the end.
class CheckReport {
  public:
    CheckReport(std::string serverName, bool asJson)
        : server(std::move(serverName)), json(asJson) {}

    void add(Finding finding);
    /// Prints the JSON form if that was asked for. Answers the status of the first finding that is
    /// not ok.
    ExitStatus finish() const;

  private:
    void print(const Finding& finding) const;
    void printJson(ExitStatus status) const;

    std::string server;
    bool json;
    std::vector<Finding> findings;
};

}  // namespace Orvane
