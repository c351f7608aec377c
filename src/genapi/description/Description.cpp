#include "genapi/description/Description.h"

#include "genapi/description/Shown.h"

namespace genapi {

void Report(std::vector<LoadProblem>& problems, uint32_t line, std::string_view node, std::string_view text) {
    constexpr std::size_t kMaxProblems = 1000;
    if (problems.size() < kMaxProblems) problems.push_back({line, Shown(node), Shown(text)});
}

} // namespace genapi
