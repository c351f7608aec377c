#include "genapi/lint/Finding.h"

#include "genapi/description/Shown.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace genapi {

namespace {

constexpr std::size_t kMostFindings = 20'000;

constexpr RuleFacts kRules[] = {
    {"missing-root-attribute", Severity::Warning, "add the attribute to RegisterDescription"},
    {"bad-root-attribute", Severity::Warning, "correct the attribute of RegisterDescription"},
    {"unknown-node", Severity::Error, "correct the element's name; the node is left out"},
    {"nameless-node", Severity::Error, "give the node a Name; it is left out"},
    {"bad-name", Severity::Warning, "use a letter, then letters, digits and underscores"},
    {"duplicate-name", Severity::Error, "rename one of the nodes; as it is, neither can be used"},
    {"duplicate-entry", Severity::Error, "rename one of the entries; only the first one counts"},
    {"unknown-attribute", Severity::Warning, "remove the attribute; it has no effect"},
    {"bad-attribute", Severity::Warning, "correct the attribute"},
    {"unknown-element", Severity::Warning, "correct or remove the element; it has no effect"},
    {"misplaced-element", Severity::Warning, "remove the element; this kind of node does not have it"},
    {"newer-element", Severity::Warning, "state schema version 1.1, or remove it"},
    {"wrong-order", Severity::Warning, "put the elements into the order of the schema"},
    {"repeated-element", Severity::Warning, "keep one of the elements; the last one counts"},
    {"missing-element", Severity::Error, "add the element; the node cannot be used"},
    {"assumed-element", Severity::Warning, "add the element, so that nothing has to be assumed"},
    {"bad-value", Severity::Error, "correct the value; the node cannot be used"},
    {"odd-value", Severity::Warning, "use a value that the schema names"},
    {"min-above-max", Severity::Error, "correct the limits; no value can be written"},
    {"value-out-of-range", Severity::Warning, "correct the value or the limits"},
    {"bad-increment", Severity::Warning, "state an increment above zero"},
    {"same-entry-value", Severity::Warning, "give each entry a value of its own; the first available one is shown"},
    {"bad-length", Severity::Error, "correct the length"},
    {"bits-outside", Severity::Error, "correct the bits or the length"},
    {"bits-reversed", Severity::Warning, "exchange LSB and MSB"},
    {"on-equals-off", Severity::Error, "state an OffValue that differs from the OnValue"},
    {"dangling-link", Severity::Error, "correct the name or add the node"},
    {"loose-link", Severity::Warning, "correct the name, add the node, or remove the link; it has no effect"},
    {"wrong-target", Severity::Error, "link to a node of a fitting kind"},
    {"odd-target", Severity::Note, "works here; engines that keep strictly to the schema may refuse it"},
    {"bad-formula", Severity::Error, "correct the formula; the node has no value"},
    {"bad-variable", Severity::Error, "correct the variable; formulas that use it fail"},
    {"value-cycle", Severity::Error, "break the circle; none of these nodes has a value"},
    {"limit-cycle", Severity::Error, "break the circle; none of these limits can be told"},
    {"access-cycle", Severity::Warning, "break the circle; the access mode is guessed"},
    {"category-cycle", Severity::Warning, "remove one of the pFeature links"},
    {"missing-invalidator", Severity::Warning, "add a pInvalidator or an address term, or set Cachable to NoCache"},
    {"shared-bits", Severity::Warning, "let each name the other as pInvalidator, or set Cachable to NoCache"},
    {"read-only-command", Severity::Warning, "let the command write a register that can be written"},
    {"no-root", Severity::Error, "add a Category Root; without it no feature is offered"},
    {"no-device-port", Severity::Warning, "name the port of the camera's registers Device"},
    {"unreachable-feature", Severity::Warning, "list it in a category below Root, or remove it"},
    {"unused-node", Severity::Note, "remove the node if it serves no purpose"},
    {"defective-node", Severity::Error, "correct the node; it cannot be used"},
};
static_assert(std::size(kRules) == static_cast<std::size_t>(Rule::DefectiveNode) + 1);

auto SortKey(const Finding& finding) {
    return std::tie(finding.place.offset, finding.rule, finding.text);
}

} // namespace

const RuleFacts& FactsOf(Rule rule) {
    return kRules[static_cast<std::size_t>(rule)];
}

void Findings::Add(Rule rule, Place place, std::string_view node, std::string text, std::string advice) {
    if (IsFull()) return;
    if (advice.empty()) advice = FactsOf(rule).advice;
    m_Findings.push_back({rule, place, Shown(node), Shown(text), Shown(advice)});
}

bool Findings::IsFull() const {
    return m_Findings.size() >= kMostFindings;
}

std::vector<Finding> Findings::Take() {
    std::vector<Finding> findings = std::exchange(m_Findings, {});
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return SortKey(a) < SortKey(b); });
    const auto isSame = [](const Finding& a, const Finding& b) { return SortKey(a) == SortKey(b); };
    findings.erase(std::unique(findings.begin(), findings.end(), isSame), findings.end());
    return findings;
}

} // namespace genapi
