#pragma once
// Makes node records from node elements: the preprocessing that stands between a file and its nodes.

#include "genapi/description/Description.h"
#include "genapi/loader/NodeElements.h"

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace genapi {

/// Generated names carry their owner's; without a limit a long one would be repeated for each entry.
inline constexpr std::size_t kMaxGeneratedName = 256;

/// Turns a list into the records of a description. Bound to a thread.
class RecordBuilder {
public:
    /// Both are borrowed.
    RecordBuilder(Description& description, TextArena& arena);

    void Run(const NodeElements& elements);

private:
    struct Range {
        uint32_t first = 0;
        uint32_t count = 0;
    };
    /// A child element that becomes a node after its owner; a StructReg, which is none, has its own before its entries.
    struct Inner {
        pugi::xml_node element;
        NodeType type = NodeType::Node;
        std::string_view name;
        std::string_view owner; ///< name of the owning node
        NodeIndex claim = kNoNode;
    };

    void ClaimNames(const NodeElements& elements);
    void Build(const NodeElement& node, NodeIndex claim);
    void BuildInner(const Inner& inner);
    void BuildInners();
    void FinishRecords();

    void Begin(const pugi::xml_node& element, NodeType type, std::string_view name, NodeIndex claim);
    void End();
    void AddProperties(const pugi::xml_node& element);
    void AddProperty(const pugi::xml_node& element, PropertyId id);
    bool AddAttribute(const pugi::xml_node& element, PropertyRecord& record);
    bool TakeInner(const pugi::xml_node& child, std::string_view kind);
    void TakeEntry(const pugi::xml_node& child);
    void TakeKnife(const pugi::xml_node& child);
    void TakeKey(const pugi::xml_node& child, NodeType type);
    void Inherit(const NodeElement& node);
    void OpenStructReg(const NodeElement& entry);
    void AddUnitedFeatures(const pugi::xml_node& category);
    void AddText(PropertyId id, std::string_view value);
    /// A free name, and its claim.
    std::pair<std::string_view, NodeIndex> UniqueName(std::string_view wanted, std::string_view owner);
    void Complain(const pugi::xml_node& element, std::string text);
    void LogIgnored(const pugi::xml_node& element) const;

    Description& m_Description;
    TextArena& m_Arena;
    std::vector<PropertyRecord>& m_Properties; ///< of the description
    NameIndex& m_Names;                        ///< of the description; by claim until the nodes have their places
    std::vector<NodeIndex> m_Claims;           ///< by index of the element; kNoNode when it is dropped
    std::vector<NodeIndex> m_NodesOf;          ///< by claim
    std::vector<Range> m_Ranges;               ///< of each record
    std::vector<Inner> m_Inner;                ///< waiting for the owner's end
    /// First and number in m_StructProperties.
    std::unordered_map<const void*, std::pair<uint32_t, uint32_t>> m_StructRegs;
    std::vector<PropertyRecord> m_StructProperties;
    std::size_t m_InheritedCount = 0;
    uint32_t m_KnifeCount = 0;       ///< over all nodes, so that the search for a free name stays short
    std::string m_Scratch;           ///< for generated names
    const XmlText* m_Text = nullptr; ///< borrowed, of the node at hand
    NodeType m_Type = NodeType::Node;
    std::string_view m_Name;
    bool m_IsLogging;
};

} // namespace genapi
