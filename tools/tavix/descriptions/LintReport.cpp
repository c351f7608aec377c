#include "descriptions/LintReport.h"

#include "output/Json.h"
#include "output/Text.h"

#include <GenApi/Lint.h>

#include <array>
#include <cstdio>
#include <vector>

namespace tool {
namespace {

using Finding = GenApi::LintFinding;
using Severity = GenApi::ELintSeverity;

/// Number of findings by severity.
using Counts = std::array<std::size_t, 3>;

Counts Count(const std::vector<Finding>& findings) {
    Counts counts{};
    for (const Finding& finding : findings)
        ++counts[static_cast<std::size_t>(finding.Severity)];
    return counts;
}

const char* NameOf(Severity severity) {
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    default:
        return "note";
    }
}

std::string Plural(std::size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void PrintText(const std::string& path, const std::vector<Finding>& findings, const Counts& counts) {
    for (const Finding& finding : findings) {
        std::string line = path;
        if (finding.Line > 0) line += ":" + std::to_string(finding.Line);
        line += std::string(": ") + NameOf(finding.Severity) + ": ";
        if (!finding.Node.empty()) line += finding.Node.str() + ": ";
        line += finding.Text.str() + "; " + finding.Advice.str() + " [" + finding.Rule.str() + "]";
        PrintLine(line);
    }
    std::printf("%s, %s, %s\n", Plural(counts[0], "error").c_str(), Plural(counts[1], "warning").c_str(),
                Plural(counts[2], "note").c_str());
}

nlohmann::json ToJson(const Finding& finding) {
    return {{"severity", NameOf(finding.Severity)}, {"rule", finding.Rule.str()},
            {"node", finding.Node.str()},           {"line", finding.Line},
            {"text", finding.Text.str()},           {"advice", finding.Advice.str()}};
}

void PrintFindings(const std::vector<Finding>& findings, const Counts& counts) {
    nlohmann::json list = nlohmann::json::array();
    for (const Finding& finding : findings)
        list.push_back(ToJson(finding));
    PrintJson({{"findings", list}, {"errors", counts[0]}, {"warnings", counts[1]}, {"notes", counts[2]}});
}

} // namespace

std::size_t ReportLint(const std::string& path, ReportForm form) {
    const std::vector<Finding> findings = GenApi::LintDescriptionFile(path);
    const Counts counts = Count(findings);
    if (form == ReportForm::Json)
        PrintFindings(findings, counts);
    else
        PrintText(path, findings, counts);
    return counts[static_cast<std::size_t>(Severity::Error)];
}

} // namespace tool
