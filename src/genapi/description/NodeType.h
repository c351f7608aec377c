#pragma once
// Node types as a node map knows them: the element names that remain after preprocessing.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace genapi {

// StructEntry and StructReg do not occur: an entry of a StructReg has become a MaskedIntReg.
enum class NodeType : uint8_t {
    Node,
    Category,
    Integer,
    IntReg,
    MaskedIntReg,
    Boolean,
    Command,
    Enumeration,
    EnumEntry,
    Float,
    FloatReg,
    String,
    StringReg,
    Register,
    Converter,
    IntConverter,
    SwissKnife,
    IntSwissKnife,
    Port,
    ConfRom,
    TextDesc,
    IntKey,
    AdvFeatureLock,
    SmartFeature,
};

inline constexpr std::string_view kNodeTypeNames[] = {
    "Node",       "Category",      "Integer",  "IntReg",  "MaskedIntReg", "Boolean",  "Command",        "Enumeration",
    "EnumEntry",  "Float",         "FloatReg", "String",  "StringReg",    "Register", "Converter",      "IntConverter",
    "SwissKnife", "IntSwissKnife", "Port",     "ConfRom", "TextDesc",     "IntKey",   "AdvFeatureLock", "SmartFeature",
};

inline constexpr std::size_t kNodeTypeCount = std::size(kNodeTypeNames);
static_assert(kNodeTypeCount == static_cast<std::size_t>(NodeType::SmartFeature) + 1);

[[nodiscard]] constexpr std::string_view NodeTypeName(NodeType type) {
    return kNodeTypeNames[static_cast<std::size_t>(type)];
}

// Case-sensitive; "StructEntry" gives MaskedIntReg and "DcamLock" gives AdvFeatureLock. Nothing for other names.
[[nodiscard]] std::optional<NodeType> FindNodeType(std::string_view name) noexcept;

} // namespace genapi
