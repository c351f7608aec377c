#pragma once
// A preprocessed description: what a file says, as records that nodes are made from.

#include "genapi/description/NameIndex.h"
#include "genapi/description/NodeType.h"
#include "genapi/description/Property.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/// The attributes of the root element. The order is that of kMapPropertyNames.
enum class MapProperty : uint8_t {
    ModelName,
    VendorName,
    ToolTip,
    StandardNameSpace,
    SchemaMajorVersion,
    SchemaMinorVersion,
    SchemaSubMinorVersion,
    MajorVersion,
    MinorVersion,
    SubMinorVersion,
    ProductGuid,
    VersionGuid,
};

inline constexpr std::array<std::string_view, 12> kMapPropertyNames = {
    "ModelName",
    "VendorName",
    "ToolTip",
    "StandardNameSpace",
    "SchemaMajorVersion",
    "SchemaMinorVersion",
    "SchemaSubMinorVersion",
    "MajorVersion",
    "MinorVersion",
    "SubMinorVersion",
    "ProductGuid",
    "VersionGuid",
};

/// Consecutive property records, borrowed from a Description.
class PropertySpan {
public:
    PropertySpan() = default;
    PropertySpan(const PropertyRecord* first, uint32_t count) : m_First(first), m_Count(count) {}
    const PropertyRecord* begin() const { return m_First; }
    const PropertyRecord* end() const { return m_First + m_Count; }
    uint32_t size() const { return m_Count; }
    bool empty() const { return m_Count == 0; }
    const PropertyRecord& operator[](uint32_t index) const { return m_First[index]; }

private:
    const PropertyRecord* m_First = nullptr;
    uint32_t m_Count = 0;
};

/// One node. The name of an entry is the generated one (EnumEntry_<Enumeration>_<Entry>) and Symbolic is always
/// among its properties. An Enumeration lists its entries as pEnumEntry, a register that held an IntSwissKnife lists
/// it as pAddress.
struct NodeRecord {
    NodeType type = NodeType::Node;
    bool isStandard = false; ///< name space Standard rather than Custom
    uint32_t line = 0;       ///< of the start tag, counted from 1
    std::string_view name;
    PropertySpan properties; ///< in document order; of a StructReg's entry: inherited ones first, then its own

    std::string_view NameSpace() const { return isStandard ? "Standard" : "Custom"; }
};

/// Something in the text that was left out or repaired. The rest of the description is usable.
struct LoadProblem {
    uint32_t line = 0;
    std::string node; ///< name of the node, possibly empty
    std::string text;
};

/// Adds a report unless there are very many already.
void Report(std::vector<LoadProblem>& problems, uint32_t line, std::string_view node, std::string_view text);

/// Owns every text and record that it shows; views stay valid while it lives, also when it is moved.
/// Constant after the loader has made it. Re-entrant.
struct Description {
    Description() = default;
    Description(Description&&) noexcept = default;
    Description& operator=(Description&&) noexcept = default;

    std::string_view Info(MapProperty property) const { return info[static_cast<std::size_t>(property)]; }

    /// Root attributes by MapProperty. Missing version numbers read "0" (the schema's major one "1"), missing texts "".
    std::array<std::string_view, kMapPropertyNames.size()> info{};
    std::string_view nameSpaceUri;
    /// Document order: StructReg entries in place, entries of an enumeration and inner IntSwissKnives after their
    /// owner, those of a StructReg before its entries. No two have the same name.
    std::vector<NodeRecord> nodes;
    /// Their numbers are places in `nodes`.
    NameIndex names;
    std::vector<LoadProblem> problems;
    /// What bears a name that another node of the description bears too: which of them is meant nobody can tell.
    struct Duplicate {
        std::string name;
        uint32_t line = 0; ///< of the second one
    };
    std::vector<Duplicate> duplicates;

    /// What the views point into: decoded texts, generated texts, property records.
    std::vector<std::unique_ptr<char[]>> texts;
    std::vector<PropertyRecord> properties;
};

} // namespace genapi
