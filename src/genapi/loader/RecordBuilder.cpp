#include "genapi/loader/RecordBuilder.h"

#include "genapi/description/Lexical.h"
#include "genapi/description/NodeTraits.h"
#include "genapi/description/Shown.h"

#include <core/Log.h>

#include <algorithm>
#include <bitset>
#include <optional>
#include <string>
#include <unordered_set>

namespace genapi {

namespace {

// How far ahead the memory is asked for names.
constexpr std::size_t kAhead = 8;

// What entries inherit from their StructRegs, all together. Real files stay below 10,000.
constexpr std::size_t kMaxInherited = 500'000;

unsigned int LogCategory() {
    static const unsigned int category = Tavix::LogGetCatID("GenApi.Loader");
    return category;
}

// An entry's own Length replaces an inherited pLength, and the other way round.
PropertyId Slot(PropertyId id) {
    return id == PropertyId::pLength ? PropertyId::Length : id;
}

std::size_t Index(PropertyId id) {
    return static_cast<std::size_t>(id);
}

} // namespace

RecordBuilder::RecordBuilder(Description& description, TextArena& arena)
    : m_Description(description), m_Arena(arena), m_Properties(description.properties), m_Names(description.names),
      m_IsLogging(Tavix::LogIsEnabled(LogCategory(), Tavix::kLogDebug)) {}

void RecordBuilder::Run(const NodeElements& elements) {
    m_Description.nodes.reserve(elements.size() * 5 / 4);
    m_Ranges.reserve(elements.size() * 5 / 4);
    ClaimNames(elements);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        // Large documents lie outside of the processor's caches.
        if (i + 1 < elements.size()) __builtin_prefetch(elements[i + 1].element.internal_object());
        if (m_Claims[i] != kNoNode) Build(elements[i], m_Claims[i]);
    }
    FinishRecords();
}

// Before anything is generated, so that generated names give way to stated ones.
void RecordBuilder::ClaimNames(const NodeElements& elements) {
    m_Names.Reserve(elements.size() * 5 / 4);
    m_Claims.assign(elements.size(), kNoNode);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const NodeElement& node = elements[i];
        if (i + kAhead < elements.size()) m_Names.Expect(elements[i + kAhead].name);
        if (node.type) m_Claims[i] = m_Names.Insert(node.name);
        if (m_Claims[i] != kNoNode) continue;
        const uint32_t line = node.text->Line(node.element);
        Report(m_Description.problems, line, node.name,
               node.type ? "second node of this name" : "unknown kind of node");
        if (node.type) m_Description.duplicates.push_back({std::string(node.name), line});
    }
}

void RecordBuilder::Build(const NodeElement& node, NodeIndex claim) {
    m_Text = node.text;
    if (node.structReg) OpenStructReg(node);
    Begin(node.element, *node.type, node.name, claim);
    if (node.structReg) Inherit(node);
    AddProperties(node.element);
    if (node.united) AddUnitedFeatures(node.united);
    if (m_Type == NodeType::EnumEntry) AddText(PropertyId::Symbolic, m_Name);
    End();
    BuildInners();
}

void RecordBuilder::BuildInners() {
    std::vector<Inner> inner;
    inner.swap(m_Inner);
    for (const Inner& each : inner)
        BuildInner(each);
    inner.clear();
    m_Inner.swap(inner); // keeps its capacity
}

void RecordBuilder::BuildInner(const Inner& inner) {
    Begin(inner.element, inner.type, inner.name, inner.claim);
    if (inner.type == NodeType::TextDesc || inner.type == NodeType::IntKey) {
        m_Properties.push_back({PropertyId::p1212Parser, AttributeKind::None, inner.owner, {}});
        m_Properties.push_back({PropertyId::Key, AttributeKind::None, Trim(ElementText(inner.element, m_Arena)), {}});
    } else {
        AddProperties(inner.element);
    }
    if (inner.type == NodeType::EnumEntry) AddText(PropertyId::Symbolic, AttributeText(inner.element, "Name"));
    End();
}

void RecordBuilder::Begin(const pugi::xml_node& element, NodeType type, std::string_view name, NodeIndex claim) {
    m_NodesOf.resize(m_Names.Count());
    m_NodesOf[claim] = static_cast<NodeIndex>(m_Description.nodes.size());
    m_Type = type;
    m_Name = name;
    NodeRecord record;
    record.type = type;
    record.name = m_Names.NameOf(claim);
    record.isStandard = AttributeText(element, "NameSpace") == "Standard";
    record.line = m_Text->Line(element);
    m_Description.nodes.push_back(record);
    m_Ranges.push_back({static_cast<uint32_t>(m_Properties.size()), 0});
}

void RecordBuilder::End() {
    m_Ranges.back().count = static_cast<uint32_t>(m_Properties.size()) - m_Ranges.back().first;
}

void RecordBuilder::FinishRecords() {
    for (std::size_t i = 0; i < m_Ranges.size(); ++i) {
        m_Description.nodes[i].properties = {m_Properties.data() + m_Ranges[i].first, m_Ranges[i].count};
    }
    m_Names.Renumber(m_NodesOf);
}

void RecordBuilder::AddProperties(const pugi::xml_node& element) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element) continue;
        // Prefixes are rare, and no property has a colon in its name.
        std::optional<PropertyId> id = FindProperty(child.name());
        const std::string_view kind = id ? std::string_view() : LocalName(child);
        if (!id) id = FindProperty(kind);
        if (id)
            AddProperty(child, *id);
        else if (!TakeInner(child, kind))
            LogIgnored(child);
    }
}

void RecordBuilder::AddProperty(const pugi::xml_node& element, PropertyId id) {
    std::string_view value = ElementText(element, m_Arena);
    const bool isFree = IsFreeText(id) || (id == PropertyId::Value && m_Type == NodeType::String);
    if (!isFree) value = Trim(value);
    if (IsLink(id) && value.empty()) return Complain(element, "link without a target");
    PropertyRecord record(id, AttributeOf(id), value, {});
    if (record.attributeKind == AttributeKind::None || AddAttribute(element, record)) m_Properties.push_back(record);
}

// False when the attribute is required and missing.
bool RecordBuilder::AddAttribute(const pugi::xml_node& element, PropertyRecord& record) {
    switch (record.attributeKind) {
    case AttributeKind::Name:
        record.attribute = AttributeText(element, "Name");
        break;
    case AttributeKind::Index:
        record.attribute = AttributeText(element, "Index");
        break;
    default:
        record.attribute = AttributeText(element, "Offset");
        if (!record.attribute.empty()) return true;
        record.attribute = AttributeText(element, "pOffset");
        record.attributeKind = record.attribute.empty() ? AttributeKind::None : AttributeKind::pOffset;
        return true;
    }
    if (record.attribute.empty()) Complain(element, "property without its name or index");
    return !record.attribute.empty();
}

bool RecordBuilder::TakeInner(const pugi::xml_node& child, std::string_view kind) {
    if (kind == "Extension" || kind == "StructEntry") return true;
    if (m_Type == NodeType::Enumeration && kind == "EnumEntry") {
        TakeEntry(child);
        return true;
    }
    if (IsRegister(m_Type) && kind == "IntSwissKnife") {
        TakeKnife(child);
        return true;
    }
    if (m_Type != NodeType::ConfRom || (kind != "TextDesc" && kind != "IntKey")) return false;
    TakeKey(child, kind == "TextDesc" ? NodeType::TextDesc : NodeType::IntKey);
    return true;
}

void RecordBuilder::TakeEntry(const pugi::xml_node& child) {
    const std::string_view entry = AttributeText(child, "Name");
    if (entry.empty()) return Complain(child, "entry without a name");
    if (m_Name.size() + entry.size() > kMaxGeneratedName) return Complain(child, "entry with too long a name");
    if (const std::string_view fault = NameFault(entry); !fault.empty()) {
        return Complain(child, "entry with " + std::string(fault));
    }
    m_Scratch.assign("EnumEntry_").append(m_Name).append(1, '_').append(entry);
    const NodeIndex claim = m_Names.Insert(m_Scratch);
    if (claim == kNoNode) {
        return Complain(child, "second entry '" + std::string(entry) + "'; the first one counts");
    }
    const std::string_view name = m_Names.NameOf(claim);
    m_Properties.push_back({PropertyId::pEnumEntry, AttributeKind::None, name, {}});
    m_Inner.push_back({child, NodeType::EnumEntry, name, m_Name, claim});
}

void RecordBuilder::TakeKnife(const pugi::xml_node& child) {
    const auto [name, claim] = UniqueName(AttributeText(child, "Name"), m_Name);
    m_Properties.push_back({PropertyId::pAddress, AttributeKind::None, name, {}});
    m_Inner.push_back({child, NodeType::IntSwissKnife, name, m_Name, claim});
}

void RecordBuilder::TakeKey(const pugi::xml_node& child, NodeType type) {
    const std::string_view name = AttributeText(child, "Name");
    const NodeIndex claim = name.empty() || !NameFault(name).empty() ? kNoNode : m_Names.Insert(name);
    if (claim == kNoNode) return Complain(child, "key without a name of its own");
    m_Inner.push_back({child, type, name, m_Name, claim});
}

// The properties of the entry's StructReg that the entry does not override. Lists are united: the inherited part first.
void RecordBuilder::Inherit(const NodeElement& node) {
    const auto [first, count] = m_StructRegs.at(node.structReg.internal_object());
    m_InheritedCount += count;
    if (m_InheritedCount > kMaxInherited) return Complain(node.element, "entries inherit too many properties");
    std::bitset<kPropertyCount> overridden;
    for (const pugi::xml_node child : node.element.children()) {
        const std::optional<PropertyId> id = FindProperty(LocalName(child));
        if (id && !IsListProperty(*id)) overridden.set(Index(Slot(*id)));
    }
    for (uint32_t i = first; i < first + count; ++i) {
        const PropertyRecord& record = m_StructProperties[i];
        if (!overridden.test(Index(Slot(record.id)))) m_Properties.push_back(record);
    }
}

// Reads the StructReg of its first entry. Formulas inside become nodes once, before that entry, as they stand.
void RecordBuilder::OpenStructReg(const NodeElement& entry) {
    const auto [found, isNew] = m_StructRegs.try_emplace(entry.structReg.internal_object());
    if (!isNew) return;
    m_Type = NodeType::MaskedIntReg;
    m_Name = entry.name;
    const std::size_t mark = m_Properties.size();
    AddProperties(entry.structReg);
    const auto begin = m_Properties.begin() + static_cast<ptrdiff_t>(mark);
    found->second.first = static_cast<uint32_t>(m_StructProperties.size());
    found->second.second = static_cast<uint32_t>(m_Properties.size() - mark);
    m_StructProperties.insert(m_StructProperties.end(), begin, m_Properties.end());
    m_Properties.erase(begin, m_Properties.end());
    BuildInners();
}

void RecordBuilder::AddUnitedFeatures(const pugi::xml_node& category) {
    std::unordered_set<std::string_view> features;
    for (std::size_t i = m_Ranges.back().first; i < m_Properties.size(); ++i) {
        if (m_Properties[i].id == PropertyId::pFeature) features.insert(m_Properties[i].value);
    }
    for (const pugi::xml_node child : category.children()) {
        if (FindProperty(LocalName(child)) != PropertyId::pFeature) continue;
        if (features.insert(Trim(ElementText(child, m_Arena))).second) AddProperty(child, PropertyId::pFeature);
    }
}

// Unless the node at hand says it itself.
void RecordBuilder::AddText(PropertyId id, std::string_view value) {
    for (std::size_t i = m_Ranges.back().first; i < m_Properties.size(); ++i) {
        if (m_Properties[i].id == id) return;
    }
    m_Properties.push_back({id, AttributeKind::None, value, {}});
}

std::pair<std::string_view, NodeIndex> RecordBuilder::UniqueName(std::string_view wanted, std::string_view owner) {
    NodeIndex claim = wanted.empty() || !NameFault(wanted).empty() ? kNoNode : m_Names.Insert(wanted);
    if (claim != kNoNode) return {wanted, claim};
    const std::string_view base = owner.substr(0, kMaxGeneratedName);
    for (;;) {
        m_Scratch.assign(base).append("_IntSwissKnife").append(std::to_string(++m_KnifeCount));
        claim = m_Names.Insert(m_Scratch);
        if (claim != kNoNode) return {m_Names.NameOf(claim), claim};
    }
}

void RecordBuilder::Complain(const pugi::xml_node& element, std::string text) {
    Report(m_Description.problems, m_Text->Line(element), m_Name, std::string(element.name()) + ": " + text);
}

void RecordBuilder::LogIgnored(const pugi::xml_node& element) const {
    if (!m_IsLogging) return;
    Tavix::LogTrace(LogCategory(), Tavix::kLogDebug, "Ignored unknown element '%s' of node '%s' in line %u.",
                    Shown(element.name()).c_str(), std::string(m_Name).c_str(), m_Text->Line(element));
}

} // namespace genapi
