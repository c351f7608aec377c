#include "genapi/loadable/Validation.h"

#include "genapi/lint/Lint.h"
#include "genapi/nodes/base/Throw.h"

#include <GenApi/Types.h>

#include <string>

namespace genapi {

namespace {

constexpr unsigned kMostQuoted = 10;

// The check that a finding belongs to; 0 for what only a reader of the description may want to know.
uint32_t CheckOf(const Finding& finding) {
    switch (finding.rule) {
    case Rule::ValueCycle:
    case Rule::AccessCycle:
        return GenApi::xvCycles;
    case Rule::NoRoot:
    case Rule::NoDevicePort:
        return GenApi::xvSFNC;
    default:
        return finding.GetSeverity() == Severity::Error ? uint32_t{GenApi::xvLoad} : 0u;
    }
}

} // namespace

void Validate(std::string_view xml, std::string_view source, uint32_t checks) {
    if (checks == GenApi::xvDefault) return;
    std::string text;
    unsigned count = 0;
    for (const Finding& finding : LintDescription(xml, source)) {
        if ((CheckOf(finding) & checks) == 0 || ++count > kMostQuoted) continue;
        text += "\nline " + std::to_string(finding.place.line) + ": ";
        if (!finding.node.empty()) text += finding.node + ": ";
        text += finding.text;
    }
    if (count == 0) return;
    ThrowRuntime(std::string(source) + " has " + std::to_string(count) + " faults:" + text);
}

} // namespace genapi
