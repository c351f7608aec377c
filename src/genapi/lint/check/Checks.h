#pragma once
// The checks of a description. Each adds what it finds; none depends on another.

#include "genapi/lint/Finding.h"
#include "genapi/lint/LintModel.h"

namespace genapi {

/// Root attributes, names, and which elements stand where, how often and in which order.
void CheckSchema(const LintModel& model, Findings& findings);
/// Numbers, keywords, limits, bits and lengths.
void CheckValues(const LintModel& model, Findings& findings);
/// Links without a target, or to a node of an unfit kind.
void CheckLinks(const LintModel& model, Findings& findings);
/// Formulas that do not compile, and what their variables ask for.
void CheckFormulas(const LintModel& model, Findings& findings);
/// Values, limits and access modes that need themselves.
void CheckCycles(const LintModel& model, Findings& findings);
/// Caches that keep what is no longer true.
void CheckCaches(const LintModel& model, Findings& findings);
/// What cannot be reached from Root, and what nothing uses.
void CheckReach(const LintModel& model, Findings& findings);
/// What the engine itself finds wrong, where no other check found an error at that node.
void CheckEngine(const LintModel& model, const std::vector<LoadProblem>& problems, Findings& findings);

} // namespace genapi
