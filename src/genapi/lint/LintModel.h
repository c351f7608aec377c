#pragma once
// A description as the checks see it: its text, its records, and where each property stands.

#include "genapi/description/Description.h"
#include "genapi/lint/Finding.h"
#include "genapi/loader/xml/XmlText.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace genapi {

/// Constant after construction. Bound to a thread.
class LintModel {
public:
    static constexpr int kNone = -1;

    /// Throws GenICam::RuntimeException when the text is no description.
    LintModel(std::string_view xml, std::string_view source);

    [[nodiscard]] const XmlText& Text() const { return m_Text; }
    [[nodiscard]] int Count() const { return static_cast<int>(m_Description.nodes.size()); }
    [[nodiscard]] const NodeRecord& Node(int index) const { return m_Description.nodes[static_cast<size_t>(index)]; }
    [[nodiscard]] std::string_view Name(int index) const { return Node(index).name; }
    /// Index of a node; kNone when there is none of that name.
    [[nodiscard]] int Find(std::string_view name) const;
    /// True for schema 1.1 and later.
    [[nodiscard]] bool IsNewSchema() const { return m_IsNewSchema; }

    [[nodiscard]] Place PlaceOf(int index) const;
    /// The element that gave the node the property: its own, or one of its StructReg.
    [[nodiscard]] Place PlaceOf(int index, const PropertyRecord& property) const;
    [[nodiscard]] Place PlaceOf(const pugi::xml_node& element) const;

    /// The property that counts; null when the node has none.
    [[nodiscard]] const PropertyRecord* Property(int index, PropertyId id) const;
    /// Its value; empty without one.
    [[nodiscard]] std::string_view Value(int index, PropertyId id) const;
    [[nodiscard]] std::optional<int64_t> Integer(int index, PropertyId id) const;
    /// The node that a link leads to; kNone when there is no such link or node.
    [[nodiscard]] int Target(int index, PropertyId id) const;
    [[nodiscard]] bool IsRegister(int index) const;
    /// For registers: behind a port that is neither one of chunks nor one of events, whose data comes and goes whole.
    [[nodiscard]] bool IsOnDevice(int index) const;

private:
    void IndexElements();
    void IndexProperties();
    void IndexPlaces(int node) const;

    XmlText m_Text;
    Description m_Description;
    std::unordered_map<std::string_view, int> m_IndexOf;
    std::unordered_map<std::string_view, pugi::xml_node> m_Elements;   ///< by name of the node
    std::unordered_map<std::string_view, pugi::xml_node> m_StructRegs; ///< by name of the entry
    TextArena m_Arena;                                                 ///< generated names
    /// The properties that count, by node and ID, and where those of a node begin.
    std::vector<const PropertyRecord*> m_Counting;
    std::vector<uint32_t> m_FirstCounting;
    /// The elements of the node that was asked for last, by name and value.
    mutable std::unordered_map<std::string, pugi::xml_node> m_Places;
    mutable int m_PlacesOf = kNone;
    bool m_IsNewSchema;
};

} // namespace genapi
