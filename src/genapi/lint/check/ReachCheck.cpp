#include "genapi/lint/check/Checks.h"
#include "genapi/nodes/base/PropertyRules.h"

#include <algorithm>
#include <iterator>

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

// The port by which registers are found: a camera's, or that of a module of a GenTL producer, named after the module.
bool HasRegisterPort(const LintModel& model) {
    constexpr const char* kNames[] = {"Device", "TLSystem", "TLInterface", "TLDevice", "TLDataStream", "TLBuffer"};
    return std::any_of(std::begin(kNames), std::end(kNames), [&](const char* name) {
        const int port = model.Find(name);
        return port != LintModel::kNone && model.Node(port).type == T::Port;
    });
}

// What an application or the transport layer finds without a link.
bool IsFoundByItself(const LintModel& model, int node) {
    const NodeRecord& record = model.Node(node);
    if (record.type == T::Port || IsObsolete(record.type)) return true;
    return record.name == "Root" || record.name == "TLParamsLocked" || model.Property(node, P::EventID) != nullptr;
}

// Follows all links of the description from some nodes. bound to a thread
class Reach {
public:
    explicit Reach(const LintModel& model) : m_Model(model), m_IsMet(static_cast<std::size_t>(model.Count())) {}

    [[nodiscard]] bool IsMet(int node) const { return m_IsMet[static_cast<std::size_t>(node)]; }

    void Grow(int start) {
        std::vector<int> waiting;
        Meet(start, waiting);
        while (!waiting.empty()) {
            const int node = waiting.back();
            waiting.pop_back();
            for (const PropertyRecord& property : m_Model.Node(node).properties) {
                if (IsLink(property.id)) Meet(m_Model.Find(property.value), waiting);
                if (property.attributeKind == AttributeKind::pOffset) Meet(m_Model.Find(property.attribute), waiting);
            }
        }
    }

private:
    void Meet(int node, std::vector<int>& waiting) {
        if (node == LintModel::kNone || IsMet(node)) return;
        m_IsMet[static_cast<std::size_t>(node)] = true;
        waiting.push_back(node);
    }

    const LintModel& m_Model; // borrowed
    std::vector<bool> m_IsMet;
};

// How often each node is named by others that cannot be reached, either.
std::vector<int> CountUses(const LintModel& model, const Reach& reach) {
    std::vector<int> uses(static_cast<std::size_t>(model.Count()), 0);
    for (int node = 0; node < model.Count(); ++node) {
        if (reach.IsMet(node)) continue;
        for (const PropertyRecord& property : model.Node(node).properties) {
            const int target = IsLink(property.id) ? model.Find(property.value) : LintModel::kNone;
            if (target != LintModel::kNone && target != node) ++uses[static_cast<std::size_t>(target)];
        }
    }
    return uses;
}

bool IsMeantForUsers(const LintModel& model, int node) {
    const std::string_view visibility = model.Value(node, P::Visibility);
    if (visibility == "Invisible") return false;
    // Tools give registers display names too.
    if (model.IsRegister(node)) return model.Node(node).isStandard && !visibility.empty();
    return model.Node(node).type == T::Category || !visibility.empty() ||
           model.Property(node, P::DisplayName) != nullptr;
}

} // namespace

void CheckReach(const LintModel& model, Findings& findings) {
    const Place start = model.PlaceOf(model.Text().Root());
    const int root = model.Find("Root");
    if (root == LintModel::kNone || model.Node(root).type != T::Category)
        return findings.Add(Rule::NoRoot, start, {}, "there is no category Root");
    if (!HasRegisterPort(model)) findings.Add(Rule::NoDevicePort, start, {}, "there is no port Device");
    Reach reach(model);
    for (int node = 0; node < model.Count(); ++node) {
        if (IsFoundByItself(model, node)) reach.Grow(node);
    }
    const std::vector<int> uses = CountUses(model, reach);
    for (int node = 0; node < model.Count(); ++node) {
        if (reach.IsMet(node) || uses[static_cast<std::size_t>(node)] > 0) continue;
        if (model.Node(node).type == T::EnumEntry) continue;
        if (IsMeantForUsers(model, node))
            findings.Add(Rule::UnreachableFeature, model.PlaceOf(node), model.Name(node),
                         "no way leads here from Root");
        else
            findings.Add(Rule::UnusedNode, model.PlaceOf(node), model.Name(node), "nothing uses the node");
    }
}

} // namespace genapi
