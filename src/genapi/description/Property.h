#pragma once
// Properties of nodes: what XML elements, generated links and maps built in code have in common.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace genapi {

/// Which XML attribute accompanies the value.
enum class AttributeKind : uint8_t {
    None,
    Name,    ///< pVariable, Constant, Expression: the name used in formulas
    Index,   ///< ValueIndexed, pValueIndexed: the index that selects this slot
    Offset,  ///< pIndex of a register: constant stride
    pOffset, ///< pIndex of a register: name of the node that holds the stride
};

/// What the value of a property looks like.
enum class Form : uint8_t {
    Text,     ///< trimmed
    FreeText, ///< keeps its white space
    Link,     ///< name of another node
    Value,    ///< as the node's own value
    Number,   ///< integer or real, as the node's own value
    Integer,
    Float,
    YesNo,
    HexPairs,
    IntegerList,
    Visibility,
    AccessMode,
    CachingMode,
    Representation,
    Sign,
    Endianess, ///< sic
    Slope,
    DisplayNotation,
};

/// What a property means for the map when it is finished, besides.
using PropertyFlags = uint8_t;
inline constexpr PropertyFlags kList = 1;     // may occur several times, and each counts; of others the last one wins
inline constexpr PropertyFlags kOptional = 2; // left out when it is malformed or its target is missing
inline constexpr PropertyFlags kTells = 4;    // over this link the node hears of a change of the target
inline constexpr PropertyFlags kNeeded = 8;   // the target of this link belongs to a part of a description
inline constexpr PropertyFlags kGivesValue = 16;   // over this link the target takes part in the node's value
inline constexpr PropertyFlags kReads = 32;        // over this link the node reads the target, be it not for its value
inline constexpr PropertyFlags kWrites = 64;       // over this link a write of the node goes on to the target
inline constexpr PropertyFlags kTellsTarget = 128; // over this link the target hears of a change of the node

// All that is known of a property: its name, the form of its value, the attribute that it takes, its flags. A new one
// is a row here.
#define GENAPI_PROPERTIES(X)                                                                                           \
    X(ToolTip, FreeText, None, 0)                                                                                      \
    X(Description, FreeText, None, 0)                                                                                  \
    X(DisplayName, FreeText, None, 0)                                                                                  \
    X(Visibility, Visibility, None, kOptional)                                                                         \
    X(DocuURL, Text, None, 0)                                                                                          \
    X(IsDeprecated, YesNo, None, kOptional)                                                                            \
    X(EventID, HexPairs, None, 0)                                                                                      \
    X(pIsImplemented, Link, None, kTells | kNeeded | kReads)                                                           \
    X(pIsAvailable, Link, None, kTells | kNeeded | kReads)                                                             \
    X(pIsLocked, Link, None, kTells | kNeeded | kReads)                                                                \
    X(pBlockPolling, Link, None, kOptional | kNeeded | kReads)                                                         \
    X(ImposedAccessMode, AccessMode, None, 0)                                                                          \
    X(pError, Link, None, kList | kOptional | kNeeded)                                                                 \
    X(pAlias, Link, None, kOptional)                                                                                   \
    X(pCastAlias, Link, None, kOptional)                                                                               \
    X(pInvalidator, Link, None, kList | kOptional | kTells)                                                            \
    X(Streamable, YesNo, None, kOptional)                                                                              \
    X(Address, Integer, None, kList)                                                                                   \
    X(pAddress, Link, None, kList | kTells | kNeeded | kGivesValue | kReads)                                           \
    X(pIndex, Link, Offset, kList | kTells | kNeeded | kGivesValue | kReads)                                           \
    X(Length, Integer, None, 0)                                                                                        \
    X(pLength, Link, None, kTells | kNeeded | kGivesValue | kReads)                                                    \
    X(AccessMode, AccessMode, None, 0)                                                                                 \
    X(pPort, Link, None, kTells | kNeeded | kReads)                                                                    \
    X(Cachable, CachingMode, None, 0)                                                                                  \
    X(PollingTime, Integer, None, kOptional)                                                                           \
    X(pFeature, Link, None, kList | kOptional | kNeeded)                                                               \
    X(Value, Value, None, 0)                                                                                           \
    X(pValue, Link, None, kTells | kNeeded | kGivesValue | kReads | kWrites)                                           \
    X(pValueCopy, Link, None, kList | kTells | kNeeded | kWrites)                                                      \
    X(ValueIndexed, Number, Index, kList)                                                                              \
    X(pValueIndexed, Link, Index, kList | kTells | kNeeded | kGivesValue | kReads | kWrites)                           \
    X(ValueDefault, Number, None, 0)                                                                                   \
    X(pValueDefault, Link, None, kTells | kNeeded | kGivesValue | kReads | kWrites)                                    \
    X(Min, Number, None, 0)                                                                                            \
    X(pMin, Link, None, kTells | kNeeded | kReads)                                                                     \
    X(Max, Number, None, 0)                                                                                            \
    X(pMax, Link, None, kTells | kNeeded | kReads)                                                                     \
    X(Inc, Number, None, 0)                                                                                            \
    X(pInc, Link, None, kTells | kNeeded | kReads)                                                                     \
    X(Unit, Text, None, 0)                                                                                             \
    X(Representation, Representation, None, kOptional)                                                                 \
    X(DisplayNotation, DisplayNotation, None, kOptional)                                                               \
    X(DisplayPrecision, Integer, None, kOptional)                                                                      \
    X(ValidValueSet, IntegerList, None, 0)                                                                             \
    X(pSelected, Link, None, kList | kOptional | kTellsTarget)                                                         \
    X(Sign, Sign, None, 0)                                                                                             \
    X(Endianess, Endianess, None, 0) /* sic */                                                                         \
    X(Bit, Integer, None, 0)                                                                                           \
    X(LSB, Integer, None, 0)                                                                                           \
    X(MSB, Integer, None, 0)                                                                                           \
    X(OnValue, Integer, None, 0)                                                                                       \
    X(OffValue, Integer, None, 0)                                                                                      \
    X(CommandValue, Integer, None, 0)                                                                                  \
    X(pCommandValue, Link, None, kTells | kNeeded | kReads)                                                            \
    X(pVariable, Link, Name, kList | kTells | kNeeded | kGivesValue | kReads)                                          \
    X(Constant, Float, Name, kList)                                                                                    \
    X(Expression, Text, Name, kList)                                                                                   \
    X(Formula, Text, None, 0)                                                                                          \
    X(FormulaTo, Text, None, 0)                                                                                        \
    X(FormulaFrom, Text, None, 0)                                                                                      \
    X(Slope, Slope, None, 0)                                                                                           \
    X(IsLinear, YesNo, None, 0)                                                                                        \
    X(NumericValue, Float, None, 0)                                                                                    \
    X(IsSelfClearing, YesNo, None, 0)                                                                                  \
    X(ChunkID, HexPairs, None, 0)                                                                                      \
    X(pChunkID, Link, None, kTells | kNeeded | kGivesValue | kReads)                                                   \
    X(SwapEndianess, YesNo, None, 0) /* sic */                                                                         \
    X(CacheChunkData, YesNo, None, 0)                                                                                  \
    X(p1212Parser, Link, None, kOptional | kNeeded)                                                                    \
    X(Key, Text, None, 0)                                                                                              \
    X(FeatureID, Text, None, 0)                                                                                        \
    X(Timeout, Text, None, 0)                                                                                          \
    X(Symbolic, Text, None, 0)                                                                                         \
    X(pEnumEntry, Link, None, kList | kTells | kNeeded)                                                                \
    X(IsFeature, YesNo, None, kOptional)                                                                               \
    X(pDependent, Link, None, kList | kOptional | kTellsTarget)                                                        \
    X(pTerminal, Link, None, kList | kOptional)                                                                        \
    X(pSelecting, Link, None, kList | kOptional)

enum class PropertyId : uint8_t {
#define GENAPI_ENUMERATOR(name, form, attribute, flags) name,
    GENAPI_PROPERTIES(GENAPI_ENUMERATOR)
#undef GENAPI_ENUMERATOR
};

inline constexpr std::string_view kPropertyNames[] = {
#define GENAPI_SPELLING(name, form, attribute, flags) #name,
    GENAPI_PROPERTIES(GENAPI_SPELLING)
#undef GENAPI_SPELLING
};

struct PropertyTraits {
    Form form;
    AttributeKind attribute; ///< pIndex takes Offset or pOffset: this names Offset
    PropertyFlags flags;
};

inline constexpr PropertyTraits kPropertyTraits[] = {
#define GENAPI_TRAITS(name, form, attribute, flags) {Form::form, AttributeKind::attribute, flags},
    GENAPI_PROPERTIES(GENAPI_TRAITS)
#undef GENAPI_TRAITS
};
#undef GENAPI_PROPERTIES

inline constexpr std::size_t kPropertyCount = std::size(kPropertyNames);

[[nodiscard]] constexpr std::string_view PropertyName(PropertyId id) {
    return kPropertyNames[static_cast<std::size_t>(id)];
}

/// Case-sensitive; nothing when the name is no property. Constant time.
[[nodiscard]] std::optional<PropertyId> FindProperty(std::string_view name) noexcept;

[[nodiscard]] constexpr const PropertyTraits& TraitsOf(PropertyId id) {
    return kPropertyTraits[static_cast<std::size_t>(id)];
}
[[nodiscard]] constexpr bool HasFlag(PropertyId id, PropertyFlags flag) {
    return (TraitsOf(id).flags & flag) != 0;
}
[[nodiscard]] constexpr bool IsLink(PropertyId id) {
    return TraitsOf(id).form == Form::Link;
}
/// None when it takes none.
[[nodiscard]] constexpr AttributeKind AttributeOf(PropertyId id) {
    return TraitsOf(id).attribute;
}
[[nodiscard]] constexpr bool IsListProperty(PropertyId id) {
    return HasFlag(id, kList);
}
[[nodiscard]] constexpr bool IsFreeText(PropertyId id) {
    return TraitsOf(id).form == Form::FreeText;
}

/// The place of a node among those of its map.
using NodeIndex = uint32_t;
inline constexpr NodeIndex kNoNode = 0xFFFFFFFF;

/// One property as text. The texts belong to whoever made the record (a Description, or a caller's strings).
struct PropertyRecord {
    PropertyRecord() = default;
    PropertyRecord(PropertyId propertyId, AttributeKind kind, std::string_view valueText,
                   std::string_view attributeText)
        : id(propertyId), attributeKind(kind), value(valueText), attribute(attributeText) {}

    PropertyId id = PropertyId::ToolTip;
    AttributeKind attributeKind = AttributeKind::None;
    NodeIndex target = kNoNode; ///< of a link, once the map is finished; kNoNode when there is no such node
    std::string_view value;
    std::string_view attribute;
};

} // namespace genapi
