#include "genapi/loader/DescriptionWriter.h"
#include "genapi/loader/Loader.h"

namespace genapi {

namespace {

// The nodes that can be reached from one over followed links. Bound to a thread.
class Closure final : public WriteFilter {
public:
    explicit Closure(const Description& description)
        : m_Description(description), m_IsIn(description.nodes.size(), false) {
        m_IndexOf.reserve(description.nodes.size());
        for (std::size_t i = 0; i < description.nodes.size(); ++i)
            m_IndexOf.emplace(description.nodes[i].name, i);
    }

    // False when there is no node of that name.
    bool Grow(std::string_view root) {
        Add(root);
        const bool isKnown = !m_Waiting.empty();
        while (!m_Waiting.empty()) {
            const NodeRecord& node = m_Description.nodes[m_Waiting.back()];
            m_Waiting.pop_back();
            for (const PropertyRecord& property : node.properties) {
                if (HasFlag(property.id, kNeeded)) Add(property.value);
                if (property.attributeKind == AttributeKind::pOffset) Add(property.attribute);
            }
        }
        return isKnown;
    }

    bool KeepsNode(std::size_t index) const override { return m_IsIn[index]; }

    bool KeepsProperty(const PropertyRecord& property) const override {
        if (!IsLink(property.id) || HasFlag(property.id, kNeeded)) return true;
        const auto found = m_IndexOf.find(property.value);
        return found != m_IndexOf.end() && m_IsIn[found->second];
    }

private:
    void Add(std::string_view name) {
        const auto found = m_IndexOf.find(name);
        if (found == m_IndexOf.end() || m_IsIn[found->second]) return;
        m_IsIn[found->second] = true;
        m_Waiting.push_back(found->second);
    }

    const Description& m_Description; // borrowed
    std::unordered_map<std::string_view, std::size_t> m_IndexOf;
    std::vector<bool> m_IsIn;
    std::vector<std::size_t> m_Waiting;
};

} // namespace

std::string ExtractSubtree(std::string_view xml, std::string_view inject, std::string_view root) {
    const Description description = ParseDescription(xml, inject);
    Closure closure(description);
    if (!closure.Grow(root)) return {};
    return DescriptionWriter(description, closure).Write(root == "Root" ? std::string_view() : root);
}

} // namespace genapi
