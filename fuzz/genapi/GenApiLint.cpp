// The checks of descriptions: whatever is found stands in order, has words, and is found again.

#include "genapi/lint/Lint.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace {

bool IsSame(const genapi::Finding& a, const genapi::Finding& b) {
    return a.rule == b.rule && a.place.offset == b.place.offset && a.node == b.node && a.text == b.text;
}

bool IsBefore(const genapi::Finding& a, const genapi::Finding& b) {
    return a.place.offset < b.place.offset;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<genapi::Finding> findings;
    try {
        findings = genapi::LintDescription(text);
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    if (!std::is_sorted(findings.begin(), findings.end(), IsBefore)) __builtin_trap();
    for (const genapi::Finding& finding : findings)
        if (finding.text.empty() || finding.advice.empty()) __builtin_trap();
    const std::vector<genapi::Finding> again = genapi::LintDescription(text);
    if (!std::equal(findings.begin(), findings.end(), again.begin(), again.end(), IsSame)) __builtin_trap();
    return 0;
}
