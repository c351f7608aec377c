#include "genapi/loader/NodeElements.h"

#include "genapi/description/Lexical.h"
#include "genapi/description/Shown.h"
#include "genapi/loader/GroupWalk.h"

#include <Base/GCException.h>

#include <unordered_map>
#include <unordered_set>

namespace genapi {

namespace {

// Collects elements below a root. Bound to a thread.
class Collector {
public:
    Collector(const XmlText& text, std::vector<LoadProblem>& problems) : m_Text(text), m_Problems(problems) {}

    NodeElements Run() {
        ForEachInGroups(m_Text.Root(), [this](const pugi::xml_node& element) { Take(element); });
        return std::move(m_Elements);
    }

private:
    void Take(const pugi::xml_node& element) {
        const std::string_view kind = LocalName(element);
        if (kind == "Group" || kind == "Extension") return;
        if (kind != "StructReg") {
            Add(element, {}, FindNodeType(kind));
            return;
        }
        for (const pugi::xml_node child : element.children()) {
            if (LocalName(child) == "StructEntry") Add(child, element, NodeType::MaskedIntReg);
        }
    }

    void Add(const pugi::xml_node& element, const pugi::xml_node& structReg, std::optional<NodeType> type) {
        const std::string_view name = AttributeText(element, "Name");
        if (name.empty()) {
            Report(m_Problems, m_Text.Line(element), {}, std::string(element.name()) + " without a name");
            return;
        }
        if (const std::string_view fault = NameFault(name); !fault.empty()) {
            Report(m_Problems, m_Text.Line(element), {}, std::string(element.name()) + " with " + std::string(fault));
            return;
        }
        m_Elements.push_back({element, structReg, {}, &m_Text, name, type});
    }

    const XmlText& m_Text;                // borrowed
    std::vector<LoadProblem>& m_Problems; // borrowed
    NodeElements m_Elements;
};

bool IsCategory(const NodeElement& node) {
    return node.type == NodeType::Category;
}

// An injected node meets one of the same name.
void Unite(NodeElement& target, const NodeElement& injected) {
    if (IsCategory(target) && IsCategory(injected)) {
        target.united = injected.element;
        return;
    }
    const std::string_view priority = AttributeText(injected.element, "MergePriority");
    if (priority == "1" || priority == "+1") {
        target = injected;
    } else if (priority != "-1") {
        throw RUNTIME_EXCEPTION(
            "injected text, line %u: node '%hs' is in the description already and has no merge priority",
            injected.text->Line(injected.element), std::string(injected.name).c_str());
    }
}

} // namespace

NodeElements CollectNodeElements(const XmlText& text, std::vector<LoadProblem>& problems) {
    return Collector(text, problems).Run();
}

void InjectNodeElements(NodeElements& target, const NodeElements& injected, std::vector<LoadProblem>& problems) {
    std::unordered_map<std::string_view, std::size_t> indexOf;
    indexOf.reserve(target.size() + injected.size());
    for (std::size_t i = 0; i < target.size(); ++i)
        indexOf.emplace(target[i].name, i);
    std::unordered_set<std::string_view> seen;
    for (const NodeElement& node : injected) {
        if (!seen.insert(node.name).second) {
            Report(problems, node.text->Line(node.element), node.name, "injected twice; the first one counts");
            continue;
        }
        const auto found = indexOf.find(node.name);
        if (found == indexOf.end())
            target.push_back(node);
        else
            Unite(target[found->second], node);
    }
}

} // namespace genapi
