#include "genapi/lint/Lint.h"

#include <GenApi/Lint.h>

namespace GenApi {

namespace {

ELintSeverity SeverityOf(const genapi::Finding& finding) {
    switch (finding.GetSeverity()) {
    case genapi::Severity::Error:
        return ELintSeverity::Error;
    case genapi::Severity::Warning:
        return ELintSeverity::Warning;
    default:
        return ELintSeverity::Note;
    }
}

} // namespace

std::vector<LintFinding> LintDescriptionFile(const GenICam::gcstring& path) {
    std::vector<LintFinding> findings;
    for (genapi::Finding& finding : genapi::LintDescriptionFile(path.str())) {
        findings.push_back({SeverityOf(finding), GenICam::gcstring(genapi::FactsOf(finding.rule).name),
                            finding.place.line, std::move(finding.node), std::move(finding.text),
                            std::move(finding.advice)});
    }
    return findings;
}

} // namespace GenApi
