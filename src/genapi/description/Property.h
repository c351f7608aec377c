#pragma once
// Property names of nodes: what XML elements, generated links and maps built in code have in common.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace genapi {

// The names in one list, so that identifiers and spellings cannot drift apart.
#define GENAPI_PROPERTIES(X)                                                                                           \
    X(ToolTip)                                                                                                         \
    X(Description)                                                                                                     \
    X(DisplayName)                                                                                                     \
    X(Visibility)                                                                                                      \
    X(DocuURL)                                                                                                         \
    X(IsDeprecated)                                                                                                    \
    X(EventID)                                                                                                         \
    X(pIsImplemented)                                                                                                  \
    X(pIsAvailable)                                                                                                    \
    X(pIsLocked)                                                                                                       \
    X(pBlockPolling)                                                                                                   \
    X(ImposedAccessMode)                                                                                               \
    X(pError)                                                                                                          \
    X(pAlias)                                                                                                          \
    X(pCastAlias)                                                                                                      \
    X(pInvalidator)                                                                                                    \
    X(Streamable)                                                                                                      \
    X(Address)                                                                                                         \
    X(pAddress)                                                                                                        \
    X(pIndex)                                                                                                          \
    X(Length)                                                                                                          \
    X(pLength)                                                                                                         \
    X(AccessMode)                                                                                                      \
    X(pPort)                                                                                                           \
    X(Cachable)                                                                                                        \
    X(PollingTime)                                                                                                     \
    X(pFeature)                                                                                                        \
    X(Value)                                                                                                           \
    X(pValue)                                                                                                          \
    X(pValueCopy)                                                                                                      \
    X(ValueIndexed)                                                                                                    \
    X(pValueIndexed)                                                                                                   \
    X(ValueDefault)                                                                                                    \
    X(pValueDefault)                                                                                                   \
    X(Min)                                                                                                             \
    X(pMin)                                                                                                            \
    X(Max)                                                                                                             \
    X(pMax)                                                                                                            \
    X(Inc)                                                                                                             \
    X(pInc)                                                                                                            \
    X(Unit)                                                                                                            \
    X(Representation)                                                                                                  \
    X(DisplayNotation)                                                                                                 \
    X(DisplayPrecision)                                                                                                \
    X(ValidValueSet)                                                                                                   \
    X(pSelected)                                                                                                       \
    X(Sign)                                                                                                            \
    X(Endianess) /* sic */                                                                                             \
    X(Bit)                                                                                                             \
    X(LSB)                                                                                                             \
    X(MSB)                                                                                                             \
    X(OnValue)                                                                                                         \
    X(OffValue)                                                                                                        \
    X(CommandValue)                                                                                                    \
    X(pCommandValue)                                                                                                   \
    X(pVariable)                                                                                                       \
    X(Constant)                                                                                                        \
    X(Expression)                                                                                                      \
    X(Formula)                                                                                                         \
    X(FormulaTo)                                                                                                       \
    X(FormulaFrom)                                                                                                     \
    X(Slope)                                                                                                           \
    X(IsLinear)                                                                                                        \
    X(NumericValue)                                                                                                    \
    X(IsSelfClearing)                                                                                                  \
    X(ChunkID)                                                                                                         \
    X(pChunkID)                                                                                                        \
    X(SwapEndianess) /* sic */                                                                                         \
    X(CacheChunkData)                                                                                                  \
    X(p1212Parser)                                                                                                     \
    X(Key)                                                                                                             \
    X(FeatureID)                                                                                                       \
    X(Timeout)                                                                                                         \
    X(Symbolic)                                                                                                        \
    X(pEnumEntry)                                                                                                      \
    X(IsFeature)                                                                                                       \
    X(pDependent)                                                                                                      \
    X(pTerminal)                                                                                                       \
    X(pSelecting)

enum class PropertyId : uint8_t {
#define GENAPI_ENUMERATOR(name) name,
    GENAPI_PROPERTIES(GENAPI_ENUMERATOR)
#undef GENAPI_ENUMERATOR
};

inline constexpr std::string_view kPropertyNames[] = {
#define GENAPI_SPELLING(name) #name,
    GENAPI_PROPERTIES(GENAPI_SPELLING)
#undef GENAPI_SPELLING
};
#undef GENAPI_PROPERTIES

inline constexpr std::size_t kPropertyCount = std::size(kPropertyNames);

[[nodiscard]] constexpr std::string_view PropertyName(PropertyId id) {
    return kPropertyNames[static_cast<std::size_t>(id)];
}

// Case-sensitive; nothing when the name is no property. Constant time.
[[nodiscard]] std::optional<PropertyId> FindProperty(std::string_view name) noexcept;

// True for links: the value is the name of another node.
inline constexpr auto kIsLink = [] {
    std::array<bool, kPropertyCount> isLink{};
    for (std::size_t i = 0; i < kPropertyCount; ++i)
        isLink[i] = kPropertyNames[i][0] == 'p';
    return isLink;
}();

[[nodiscard]] constexpr bool IsLink(PropertyId id) {
    return kIsLink[static_cast<std::size_t>(id)];
}

// Which XML attribute accompanies the value.
enum class AttributeKind : uint8_t {
    None,
    Name,    // pVariable, Constant, Expression: the name used in formulas
    Index,   // ValueIndexed, pValueIndexed: the index that selects this slot
    Offset,  // pIndex of a register: constant stride
    pOffset, // pIndex of a register: name of the node that holds the stride
};

// The attribute that a property takes; None when it takes none. pIndex takes Offset or pOffset: this names Offset.
[[nodiscard]] constexpr AttributeKind AttributeOf(PropertyId id) {
    switch (id) {
    case PropertyId::pVariable:
    case PropertyId::Constant:
    case PropertyId::Expression:
        return AttributeKind::Name;
    case PropertyId::ValueIndexed:
    case PropertyId::pValueIndexed:
        return AttributeKind::Index;
    case PropertyId::pIndex:
        return AttributeKind::Offset;
    default:
        return AttributeKind::None;
    }
}

// Properties that may occur several times; each occurrence counts. Of all others the last one wins.
[[nodiscard]] bool IsListProperty(PropertyId id) noexcept;

// Free text keeps its white space; every other value is trimmed.
[[nodiscard]] constexpr bool IsFreeText(PropertyId id) {
    return id == PropertyId::ToolTip || id == PropertyId::Description || id == PropertyId::DisplayName;
}

// The place of a node among those of its map.
using NodeIndex = uint32_t;
inline constexpr NodeIndex kNoNode = 0xFFFFFFFF;

// One property as text. The texts belong to whoever made the record (a Description, or a caller's strings).
struct PropertyRecord {
    PropertyRecord() = default;
    PropertyRecord(PropertyId propertyId, AttributeKind kind, std::string_view valueText,
                   std::string_view attributeText)
        : id(propertyId), attributeKind(kind), value(valueText), attribute(attributeText) {}

    PropertyId id = PropertyId::ToolTip;
    AttributeKind attributeKind = AttributeKind::None;
    NodeIndex target = kNoNode; // of a link, once the map is finished; kNoNode when there is no such node
    std::string_view value;
    std::string_view attribute;
};

} // namespace genapi
