#pragma once
// Who hears of a change, as far as the links of the description go.

#include "genapi/lint/LintModel.h"

#include <vector>

namespace genapi {

/// Which links count: all that carry a change, or only those that a value is computed from.
enum class Spread : uint8_t { Any, Value };

/// The links of a description turned round. Bound to a thread.
class Dependents {
public:
    Dependents(const LintModel& model, Spread spread);

    /// Marks of all nodes that hear of a change of a source, the sources included; valid until the next call.
    [[nodiscard]] const std::vector<bool>& Of(const std::vector<int>& sources);

    /// Asking for very many sources would take for ever; then the question is not worth its answer.
    [[nodiscard]] bool IsExhausted() const { return m_Steps > kMostSteps; }

private:
    static constexpr std::size_t kMostSteps = 10'000'000;

    std::vector<std::vector<int>> m_Links;
    std::vector<bool> m_IsMet;
    std::vector<int> m_Sources; ///< of m_IsMet
    std::size_t m_Steps = 0;
};

/// The nodes that a node's value comes from, itself first, down to registers.
[[nodiscard]] std::vector<int> SourcesOf(const LintModel& model, int node);

/// A register of the device that is read from a cache which only an invalidation empties.
[[nodiscard]] bool KeepsOldValue(const LintModel& model, int registerNode);

} // namespace genapi
