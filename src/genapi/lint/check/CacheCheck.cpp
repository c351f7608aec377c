#include "genapi/lint/DependentSet.h"
#include "genapi/lint/RegisterBits.h"
#include "genapi/lint/check/Checks.h"

#include <algorithm>
#include <unordered_set>

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

// Selectors and the features that they select. A feature shows another value when its selector changes; a cached
// register below it has to hear of that. bound to a thread
class SelectorCheck {
public:
    SelectorCheck(const LintModel& model, Findings& findings)
        : m_Model(model), m_Findings(findings), m_Told(model, Spread::Any), m_Computed(model, Spread::Value) {}

    void Run() {
        const std::vector<bool> changes = FindChanging();
        for (int selector = 0; selector < m_Model.Count(); ++selector) {
            const bool isSelector = m_Model.Property(selector, P::pSelected) != nullptr;
            if (!isSelector || HasOneEntry(selector) || IsOneNumber(selector)) continue;
            // What never changes selects once and for all.
            if (!changes[static_cast<std::size_t>(selector)]) continue;
            std::vector<int> sources;
            for (const PropertyRecord& property : m_Model.Node(selector).properties) {
                const int feature = property.id == P::pSelected ? m_Model.Find(property.value) : LintModel::kNone;
                if (feature == LintModel::kNone) continue;
                if (sources.empty()) sources = SourcesOf(m_Model, selector);
                if (!Spend(sources.size())) return;
                Check(selector, sources, feature);
            }
        }
    }

private:
    // Where selectors and features are very many the rest is not looked at: all of them with all takes for ever.
    bool Spend(std::size_t steps) {
        if (m_Told.IsExhausted() || m_Computed.IsExhausted()) return false;
        const bool isEnough = steps < m_StepsLeft;
        m_StepsLeft = isEnough ? m_StepsLeft - steps : 0;
        return isEnough;
    }

    // The nodes whose value may change.
    [[nodiscard]] std::vector<bool> FindChanging() {
        std::vector<int> changing;
        for (int node = 0; node < m_Model.Count(); ++node) {
            if (!IsFixed(node)) changing.push_back(node);
        }
        return m_Computed.Of(changing);
    }
    [[nodiscard]] bool HasOneEntry(int selector) const {
        if (m_Model.Node(selector).type != T::Enumeration) return false;
        const PropertySpan& properties = m_Model.Node(selector).properties;
        return std::count_if(properties.begin(), properties.end(),
                             [](const PropertyRecord& property) { return property.id == P::pEnumEntry; }) <= 1;
    }
    [[nodiscard]] bool IsOneNumber(int node) const {
        const std::optional<int64_t> min = m_Model.Integer(node, P::Min);
        return min && min == m_Model.Integer(node, P::Max);
    }
    // Whether nobody changes what the node itself adds to a value.
    [[nodiscard]] bool IsFixed(int node) const {
        if (m_Model.IsRegister(node)) return false;
        const bool isHeld = m_Model.Property(node, P::Value) || m_Model.Property(node, P::pIndex);
        const std::string_view mode = m_Model.Value(node, P::ImposedAccessMode);
        return !isHeld || mode == "RO" || mode == "R" || IsOneNumber(node);
    }

    void Check(int selector, const std::vector<int>& sources, int feature) {
        if (m_Model.Node(feature).type == T::Command || m_Model.Node(feature).type == T::Category) return;
        if (m_Computed.Of(sources)[static_cast<std::size_t>(feature)]) return;
        const std::vector<int> sourcesOfFeature = SourcesOf(m_Model, feature);
        if (!Spend(sourcesOfFeature.size())) return;
        for (const int each : sourcesOfFeature) {
            if (!KeepsOldValue(m_Model, each) || m_Told.Of(sources)[static_cast<std::size_t>(each)]) continue;
            m_Findings.Add(Rule::MissingInvalidator, m_Model.PlaceOf(each), m_Model.Name(each),
                           "'" + std::string(m_Model.Name(selector)) + "' selects '" +
                               std::string(m_Model.Name(feature)) +
                               "', whose value this register keeps when the selector changes");
            return;
        }
    }

    const LintModel& m_Model; // borrowed
    Findings& m_Findings;     // borrowed
    Dependents m_Told;
    Dependents m_Computed;
    std::size_t m_StepsLeft = 5'000'000;
};

bool IsWritten(const LintModel& model, int registerNode) {
    const std::string_view mode = model.Value(registerNode, P::AccessMode);
    return mode == "RW" || mode == "WO" || mode == "W";
}

// Two registers on the same bits, of which one is written and the other keeps what it read before.
class SharedBitsCheck {
public:
    SharedBitsCheck(const LintModel& model, Findings& findings)
        : m_Model(model), m_Findings(findings), m_Told(model, Spread::Any) {}

    void Run() {
        for (const auto& [first, second] : RegistersOnSameBits(m_Model)) {
            Check(first, second);
            Check(second, first);
        }
    }

private:
    void Check(int writer, int reader) {
        if (!IsWritten(m_Model, writer) || !KeepsOldValue(m_Model, reader) || m_IsSaid.count(reader) != 0) return;
        if (m_Told.IsExhausted() || m_Told.Of({writer})[static_cast<std::size_t>(reader)]) return;
        m_IsSaid.insert(reader);
        m_Findings.Add(Rule::SharedBits, m_Model.PlaceOf(reader), m_Model.Name(reader),
                       "'" + std::string(m_Model.Name(writer)) +
                           "' writes the same bits and does not invalidate this one");
    }

    const LintModel& m_Model; // borrowed
    Findings& m_Findings;     // borrowed
    Dependents m_Told;
    std::unordered_set<int> m_IsSaid; // readers
};

// The register that takes what is written to a node; kNone when the description alone does not tell.
int WrittenRegister(const LintModel& model, int node) {
    constexpr int kMostSteps = 20;
    for (int step = 0; step < kMostSteps && node != LintModel::kNone; ++step) {
        if (model.IsRegister(node)) return node;
        node = model.Target(node, P::pValue);
    }
    return LintModel::kNone;
}

void CheckCommands(const LintModel& model, Findings& findings) {
    for (int node = 0; node < model.Count(); ++node) {
        if (model.Node(node).type != T::Command) continue;
        const int target = WrittenRegister(model, node);
        if (target == LintModel::kNone || IsWritten(model, target)) continue;
        findings.Add(Rule::ReadOnlyCommand, model.PlaceOf(node), model.Name(node),
                     "it writes '" + std::string(model.Name(target)) + "', which is read-only");
    }
}

} // namespace

void CheckCaches(const LintModel& model, Findings& findings) {
    SelectorCheck(model, findings).Run();
    SharedBitsCheck(model, findings).Run();
    CheckCommands(model, findings);
}

} // namespace genapi
