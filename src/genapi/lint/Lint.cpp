#include "genapi/lint/Lint.h"

#include "genapi/lint/check/Checks.h"
#include "genapi/loader/Loader.h"
#include "genapi/map/Map.h"

#include <unordered_set>

namespace genapi {

namespace {

// What the engine says. Its map is gone before the rest is made, so that never both are in memory.
std::vector<LoadProblem> ProblemsOfEngine(std::string_view xml, std::string_view source) {
    Map map("Device");
    map.Load(ParseDescription(xml, {}, source));
    return map.Problems();
}

} // namespace

void CheckEngine(const LintModel& model, const std::vector<LoadProblem>& problems, Findings& findings) {
    std::unordered_set<std::string> faulty;
    for (const Finding& finding : findings.All()) {
        const bool isOfWhole = finding.node.empty(); // of the root, or of something without a name
        const bool isSame = finding.GetSeverity() == Severity::Error || finding.rule == Rule::LooseLink;
        if (isOfWhole || isSame) faulty.insert(finding.node);
    }
    for (const LoadProblem& problem : problems) {
        if (faulty.count(problem.node) != 0) continue;
        const int node = model.Find(problem.node);
        const Place place = node == LintModel::kNone ? Place{problem.line, 0} : model.PlaceOf(node);
        findings.Add(Rule::DefectiveNode, place, problem.node, problem.text);
    }
}

std::vector<Finding> LintDescription(std::string_view xml, std::string_view source) {
    const std::vector<LoadProblem> problems = ProblemsOfEngine(xml, source);
    const LintModel model(xml, source);
    Findings findings;
    CheckSchema(model, findings);
    CheckValues(model, findings);
    CheckLinks(model, findings);
    CheckFormulas(model, findings);
    CheckCycles(model, findings);
    CheckCaches(model, findings);
    CheckReach(model, findings);
    CheckEngine(model, problems, findings);
    return findings.Take();
}

std::vector<Finding> LintDescriptionFile(const std::string& path) {
    const std::string text = ReadDescriptionFile(path);
    return LintDescription(text, path);
}

} // namespace genapi
