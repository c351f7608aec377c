#include "genapi/loader/DescriptionWriter.h"

#include "genapi/loader/Loader.h"
#include "genapi/loader/RecordBuilder.h"

namespace genapi {

namespace {

class KeepAll final : public WriteFilter {
public:
    bool KeepsNode(std::size_t) const override { return true; }
    bool KeepsProperty(const PropertyRecord&) const override { return true; }
};

std::string_view AttributeName(AttributeKind kind) {
    switch (kind) {
    case AttributeKind::Name:
        return "Name";
    case AttributeKind::Index:
        return "Index";
    case AttributeKind::Offset:
        return "Offset";
    case AttributeKind::pOffset:
        return "pOffset";
    case AttributeKind::None:
        break;
    }
    return {};
}

// What would not survive a parser: mark-up, quotes, and line ends other than its own.
bool NeedsEscape(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '&' || c == '<' || c == '>' || c == '"' || byte < 0x20;
}

} // namespace

std::string_view EntryShortName(std::string_view enumeration, std::string_view entry) {
    constexpr std::string_view kPrefix = "EnumEntry_";
    const std::size_t start = kPrefix.size() + enumeration.size() + 1;
    if (entry.size() <= start || entry.substr(0, kPrefix.size()) != kPrefix) return {};
    if (entry.substr(kPrefix.size(), enumeration.size()) != enumeration || entry[start - 1] != '_') return {};
    return entry.substr(start);
}

DescriptionWriter::DescriptionWriter(const Description& description, const WriteFilter& filter)
    : m_Description(description), m_Filter(filter) {}

std::string DescriptionWriter::Write(std::string_view onlyFeature) {
    for (std::size_t i = 0; i < m_Description.nodes.size(); ++i) {
        const NodeRecord& node = m_Description.nodes[i];
        if (node.type == NodeType::EnumEntry && m_Filter.KeepsNode(i)) m_Entries.emplace(node.name, &node);
    }
    WriteRoot();
    if (!onlyFeature.empty()) {
        StartNode("Category", "Root", "Standard");
        WriteProperty({PropertyId::pFeature, AttributeKind::None, onlyFeature, {}});
        EndNode("Category");
    }
    for (std::size_t i = 0; i < m_Description.nodes.size(); ++i) {
        const NodeRecord& node = m_Description.nodes[i];
        const bool isReplacedRoot = !onlyFeature.empty() && node.name == "Root";
        if (!isReplacedRoot && m_Filter.KeepsNode(i)) WriteNode(node);
    }
    m_Text += "</RegisterDescription>\n";
    return std::move(m_Text);
}

void DescriptionWriter::WriteRoot() {
    m_Text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription";
    for (std::size_t i = 0; i < kMapPropertyNames.size(); ++i) {
        const bool isAbsent = static_cast<MapProperty>(i) == MapProperty::ToolTip && m_Description.info[i].empty();
        if (!isAbsent) Attribute(kMapPropertyNames[i], m_Description.info[i]);
    }
    if (!m_Description.nameSpaceUri.empty()) Attribute("xmlns", m_Description.nameSpaceUri);
    m_Text += ">\n";
}

void DescriptionWriter::WriteNode(const NodeRecord& node) {
    // An entry whose enumeration has written it is done.
    if (node.type == NodeType::EnumEntry && m_Entries.erase(node.name) == 0) return;
    const std::string_view kind = NodeTypeName(node.type);
    StartNode(kind, node.name, node.NameSpace());
    for (const PropertyRecord& property : node.properties) {
        if (!m_Filter.KeepsProperty(property) || WriteEntry(node, property)) continue;
        WriteProperty(property);
    }
    EndNode(kind);
}

// False when the property is no link to an entry that can stand inside the enumeration.
bool DescriptionWriter::WriteEntry(const NodeRecord& enumeration, const PropertyRecord& link) {
    if (enumeration.type != NodeType::Enumeration || link.id != PropertyId::pEnumEntry) return false;
    const std::string_view shortName = EntryShortName(enumeration.name, link.value);
    const auto found = m_Entries.find(link.value);
    if (shortName.empty() || found == m_Entries.end()) return false;
    if (enumeration.name.size() + shortName.size() > kMaxGeneratedName) return false;
    const NodeRecord& entry = *found->second;
    StartNode("EnumEntry", shortName, entry.NameSpace());
    for (const PropertyRecord& property : entry.properties) {
        if (m_Filter.KeepsProperty(property)) WriteProperty(property);
    }
    EndNode("EnumEntry");
    m_Entries.erase(found);
    return true;
}

void DescriptionWriter::WriteProperty(const PropertyRecord& property) {
    const std::string_view name = PropertyName(property.id);
    m_Text += '<';
    m_Text += name;
    if (property.attributeKind != AttributeKind::None) {
        Attribute(AttributeName(property.attributeKind), property.attribute);
    }
    m_Text += '>';
    Escaped(property.value);
    m_Text += "</";
    m_Text += name;
    m_Text += ">\n";
}

void DescriptionWriter::StartNode(std::string_view kind, std::string_view name, std::string_view nameSpace) {
    m_Text += '<';
    m_Text += kind;
    Attribute("Name", name);
    Attribute("NameSpace", nameSpace);
    m_Text += ">\n";
}

void DescriptionWriter::EndNode(std::string_view kind) {
    m_Text += "</";
    m_Text += kind;
    m_Text += ">\n";
}

void DescriptionWriter::Attribute(std::string_view name, std::string_view value) {
    m_Text += ' ';
    m_Text += name;
    m_Text += "=\"";
    Escaped(value);
    m_Text += '"';
}

void DescriptionWriter::Escaped(std::string_view text) {
    for (const char c : text) {
        if (!NeedsEscape(c)) {
            m_Text += c;
            continue;
        }
        m_Text += "&#";
        m_Text += std::to_string(static_cast<unsigned int>(c));
        m_Text += ';';
    }
}

std::string WriteDescription(const Description& description) {
    return DescriptionWriter(description, KeepAll()).Write();
}

} // namespace genapi
