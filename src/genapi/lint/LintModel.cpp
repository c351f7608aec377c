#include "genapi/lint/LintModel.h"

#include "genapi/description/Lexical.h"
#include "genapi/loader/Loader.h"
#include "genapi/loader/NodeElements.h"
#include "genapi/loader/RecordBuilder.h"
#include "genapi/nodes/base/PropertyRules.h"

#include <array>
#include <utility>
#include <vector>

namespace genapi {

namespace {

std::string PlaceKey(std::string_view name, std::string_view value) {
    return std::string(name).append(1, '=').append(value);
}

} // namespace

LintModel::LintModel(std::string_view xml, std::string_view source)
    : m_Text(xml, source), m_Description(ParseDescription(xml, {}, source)),
      m_IsNewSchema(ParseInteger(m_Text.SchemaMinor()).value_or(0) >= 1) {
    m_IndexOf.reserve(m_Description.nodes.size());
    for (std::size_t i = 0; i < m_Description.nodes.size(); ++i)
        m_IndexOf.emplace(m_Description.nodes[i].name, static_cast<int>(i));
    IndexElements();
    IndexProperties();
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
    if (m_PlacesOf != index) IndexPlaces(index);
    const auto found = m_Places.find(PlaceKey(PropertyName(property.id), Trim(property.value)));
    return found == m_Places.end() ? PlaceOf(index) : PlaceOf(found->second);
}

void LintModel::IndexPlaces(int node) const {
    m_Places.clear();
    m_PlacesOf = node;
    for (const auto* const elements : {&m_Elements, &m_StructRegs}) {
        const auto found = elements->find(Name(node));
        if (found == elements->end()) continue;
        for (const pugi::xml_node child : found->second.children()) {
            TextArena scratch;
            if (FindProperty(LocalName(child)))
                m_Places.emplace(PlaceKey(LocalName(child), Trim(ElementText(child, scratch))), child);
        }
    }
}

void LintModel::IndexProperties() {
    m_FirstCounting.reserve(m_Description.nodes.size() + 1);
    std::array<const PropertyRecord*, kPropertyCount> last{};
    for (const NodeRecord& node : m_Description.nodes) {
        m_FirstCounting.push_back(static_cast<uint32_t>(m_Counting.size()));
        for (const PropertyRecord& property : node.properties) {
            const PropertyRecord*& slot = last[static_cast<std::size_t>(property.id)];
            if (!HasProperty(node.type, property.id)) continue;
            if (slot == nullptr) m_Counting.push_back(&property);
            slot = &property;
        }
        for (std::size_t i = m_FirstCounting.back(); i < m_Counting.size(); ++i)
            m_Counting[i] = std::exchange(last[static_cast<std::size_t>(m_Counting[i]->id)], nullptr);
    }
    m_FirstCounting.push_back(static_cast<uint32_t>(m_Counting.size()));
}

const PropertyRecord* LintModel::Property(int index, PropertyId id) const {
    const auto node = static_cast<std::size_t>(index);
    for (uint32_t i = m_FirstCounting[node]; i < m_FirstCounting[node + 1]; ++i) {
        if (m_Counting[i]->id == id) return m_Counting[i];
    }
    return nullptr;
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
    const NodeType type = Node(index).type;
    return genapi::IsRegister(type) && !IsObsolete(type);
}

bool LintModel::IsOnDevice(int index) const {
    const int port = Target(index, PropertyId::pPort);
    return port != kNone && Property(port, PropertyId::ChunkID) == nullptr &&
           Property(port, PropertyId::pChunkID) == nullptr && Property(port, PropertyId::EventID) == nullptr;
}

} // namespace genapi
