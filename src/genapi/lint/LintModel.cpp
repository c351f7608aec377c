#include "genapi/lint/LintModel.h"

#include "genapi/description/Lexical.h"
#include "genapi/loader/Loader.h"
#include "genapi/loader/NodeElements.h"
#include "genapi/loader/RecordBuilder.h"
#include "genapi/nodes/PropertyRules.h"

#include <algorithm>
#include <vector>

namespace genapi {

namespace {

constexpr std::size_t kNearEnough = 2;
constexpr std::size_t kLongestName = 64; // of names that are compared

} // namespace

LintModel::LintModel(std::string_view xml, std::string_view source)
    : m_Text(xml, source), m_Description(ParseDescription(xml, {}, source)),
      m_IsNewSchema(ParseInteger(m_Text.SchemaMinor()).value_or(0) >= 1) {
    m_IndexOf.reserve(m_Description.nodes.size());
    for (std::size_t i = 0; i < m_Description.nodes.size(); ++i)
        m_IndexOf.emplace(m_Description.nodes[i].name, static_cast<int>(i));
    IndexElements();
}

void LintModel::IndexElements() {
    std::vector<LoadProblem> ignored;
    for (const NodeElement& node : CollectNodeElements(m_Text, ignored)) {
        if (!m_Elements.emplace(node.name, node.element).second) continue;
        if (node.structReg) m_StructRegs.emplace(node.name, node.structReg);
        const bool isEnumeration = LocalName(node.element) == "Enumeration";
        for (const pugi::xml_node child : node.element.children()) {
            const std::string_view name = AttributeText(child, "Name");
            const std::string_view kind = LocalName(child);
            if (isEnumeration && kind == "EnumEntry" && name.size() < kMaxGeneratedName) {
                m_Elements.emplace(m_Arena.Join({"EnumEntry_", node.name.substr(0, kMaxGeneratedName), "_", name}),
                                   child);
            }
            if (kind == "IntSwissKnife" && !name.empty()) m_Elements.emplace(name, child);
        }
    }
}

int LintModel::Find(std::string_view name) const {
    const auto found = m_IndexOf.find(name);
    return found == m_IndexOf.end() ? kNone : found->second;
}

Place LintModel::PlaceOf(const pugi::xml_node& element) const {
    return {m_Text.Line(element), element.offset_debug()};
}

Place LintModel::PlaceOf(int index) const {
    const auto found = m_Elements.find(Name(index));
    return found == m_Elements.end() ? Place{Node(index).line, 0} : PlaceOf(found->second);
}

Place LintModel::PlaceOf(int index, const PropertyRecord& property) const {
    for (const auto* const elements : {&m_Elements, &m_StructRegs}) {
        const auto found = elements->find(Name(index));
        if (found == elements->end()) continue;
        TextArena scratch;
        for (const pugi::xml_node child : found->second.children()) {
            if (LocalName(child) != PropertyName(property.id)) continue;
            if (Trim(ElementText(child, scratch)) == Trim(property.value)) return PlaceOf(child);
        }
    }
    return PlaceOf(index);
}

const PropertyRecord* LintModel::Property(int index, PropertyId id) const {
    const PropertyRecord* last = nullptr;
    for (const PropertyRecord& property : Node(index).properties) {
        if (property.id == id && HasProperty(Node(index).type, id)) last = &property;
    }
    return last;
}

std::string_view LintModel::Value(int index, PropertyId id) const {
    const PropertyRecord* const property = Property(index, id);
    return property == nullptr ? std::string_view() : property->value;
}

std::optional<int64_t> LintModel::Integer(int index, PropertyId id) const {
    return ParseInteger(Value(index, id));
}

int LintModel::Target(int index, PropertyId id) const {
    const PropertyRecord* const property = Property(index, id);
    return property == nullptr ? kNone : Find(property->value);
}

bool LintModel::IsRegister(int index) const {
    switch (Node(index).type) {
    case NodeType::IntReg:
    case NodeType::MaskedIntReg:
    case NodeType::FloatReg:
    case NodeType::StringReg:
    case NodeType::Register:
        return true;
    default:
        return false;
    }
}

bool LintModel::IsOnDevice(int index) const {
    const int port = Target(index, PropertyId::pPort);
    return port != kNone && Property(port, PropertyId::ChunkID) == nullptr &&
           Property(port, PropertyId::pChunkID) == nullptr && Property(port, PropertyId::EventID) == nullptr;
}

std::string_view LintModel::Nearest(std::string_view name) const {
    std::string_view nearest;
    std::size_t distance = kNearEnough;
    for (const NodeRecord& node : m_Description.nodes) {
        if (node.type == NodeType::EnumEntry) continue;
        const std::size_t other = EditDistance(name, node.name, distance);
        if (other > distance || (other == distance && !nearest.empty())) continue;
        nearest = node.name;
        distance = other;
    }
    return nearest;
}

std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit) {
    const std::size_t difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (difference > limit || a.size() > kLongestName || b.size() > kLongestName) return limit + 1;
    std::size_t row[kLongestName + 1];
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return std::min(row[b.size()], limit + 1);
}

} // namespace genapi
