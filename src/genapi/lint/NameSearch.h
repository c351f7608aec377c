#pragma once
// Guesses which name was meant.

#include "genapi/lint/LintModel.h"

#include <cstddef>
#include <string_view>

namespace genapi {

/// How many characters have to be changed, added or left out to make one word of the other; at most `limit` + 1.
[[nodiscard]] std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit);

/// Looks among the names of a description. Comparing all with all would take for ever where much is wrong, so the
/// search ends after very many comparisons and finds nothing afterwards. Bound to a thread.
class NameSearch {
public:
    explicit NameSearch(const LintModel& model) : m_Model(model) {}

    /// The existing name that is written most like the given one; empty when none is near.
    [[nodiscard]] std::string_view Nearest(std::string_view name);

private:
    const LintModel& m_Model; ///< borrowed
    std::size_t m_ComparisonsLeft = 5'000'000;
};

} // namespace genapi
