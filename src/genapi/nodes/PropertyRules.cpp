#include "genapi/nodes/PropertyRules.h"

#include "genapi/description/Lexical.h"

#include <bitset>
#include <initializer_list>

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;
using PropertySet = std::bitset<kPropertyCount>;
using Ids = std::initializer_list<PropertyId>;

constexpr Ids kCommon = {P::ToolTip,       P::Description,       P::DisplayName,    P::Visibility,   P::DocuURL,
                         P::IsDeprecated,  P::EventID,           P::pIsImplemented, P::pIsAvailable, P::pIsLocked,
                         P::pBlockPolling, P::ImposedAccessMode, P::pError,         P::pAlias,       P::pCastAlias,
                         P::pInvalidator,  P::Streamable,        P::PollingTime,    P::IsFeature,    P::pDependent,
                         P::pTerminal,     P::pSelecting};
constexpr Ids kRegister = {P::Address, P::pAddress, P::pIndex,     P::Length,
                           P::pLength, P::pPort,    P::AccessMode, P::Cachable};
constexpr Ids kSource = {P::Value,        P::pValue,        P::pValueCopy,   P::pIndex,
                         P::ValueIndexed, P::pValueIndexed, P::ValueDefault, P::pValueDefault};
constexpr Ids kLimits = {P::Min, P::pMin, P::Max, P::pMax, P::Inc, P::pInc};
constexpr Ids kInteger = {P::Unit, P::Representation, P::ValidValueSet, P::pSelected};
constexpr Ids kReal = {P::Unit, P::Representation, P::DisplayNotation, P::DisplayPrecision, P::pSelected};
constexpr Ids kFormula = {P::pVariable, P::Constant, P::Expression};
constexpr Ids kConverter = {P::FormulaTo, P::FormulaFrom, P::pValue, P::Slope, P::IsLinear};

PropertySet Union(std::initializer_list<Ids> lists) {
    PropertySet set;
    for (const Ids& list : lists) {
        for (const PropertyId id : list)
            set.set(static_cast<std::size_t>(id));
    }
    return set;
}

PropertySet MakeSet(NodeType type) {
    switch (type) {
    case T::Node:
        return Union({kCommon});
    case T::Category:
        return Union({kCommon, {P::pFeature}});
    case T::Integer:
        return Union({kCommon, kSource, kLimits, kInteger});
    case T::IntReg:
        return Union({kCommon, kRegister, kInteger, {P::Sign, P::Endianess}});
    case T::MaskedIntReg:
        return Union({kCommon, kRegister, kInteger, {P::Sign, P::Endianess, P::Bit, P::LSB, P::MSB}});
    case T::Boolean:
        return Union({kCommon, {P::Value, P::pValue, P::OnValue, P::OffValue, P::pSelected}});
    case T::Command:
        return Union({kCommon, {P::Value, P::pValue, P::CommandValue, P::pCommandValue}});
    case T::Enumeration:
        return Union({kCommon, {P::Value, P::pValue, P::pEnumEntry, P::pSelected}});
    case T::EnumEntry:
        return Union({kCommon, {P::Value, P::NumericValue, P::Symbolic, P::IsSelfClearing}});
    case T::Float:
        return Union({kCommon, kSource, kLimits, kReal});
    case T::FloatReg:
        return Union({kCommon, kRegister, kReal, {P::Endianess}});
    case T::String:
        return Union({kCommon, {P::Value, P::pValue, P::pSelected}});
    case T::StringReg:
    case T::Register:
        return Union({kCommon, kRegister, {P::pSelected}});
    case T::Converter:
        return Union({kCommon, kFormula, kConverter, kReal});
    case T::IntConverter:
        return Union({kCommon, kFormula, kConverter, kInteger});
    case T::SwissKnife:
        return Union({kCommon, kFormula, kReal, {P::Formula}});
    case T::IntSwissKnife:
        return Union({kCommon, kFormula, kInteger, {P::Formula}});
    case T::Port:
        return Union({kCommon, {P::ChunkID, P::pChunkID, P::SwapEndianess, P::CacheChunkData}});
    case T::ConfRom:
    case T::TextDesc:
    case T::IntKey:
    case T::AdvFeatureLock:
    case T::SmartFeature:
        break;
    }
    return Union({kCommon, kRegister, {P::Unit, P::p1212Parser, P::Key, P::FeatureID, P::Timeout}});
}

bool IsRealType(NodeType type) {
    return type == T::Float || type == T::Converter || type == T::SwissKnife;
}

bool IsNumber(NodeType type, std::string_view text) {
    return IsRealType(type) ? ParseFloat(text).has_value() : ParseInteger(text).has_value();
}

bool IsValue(NodeType type, std::string_view text) {
    if (type == T::String) return true;
    return type == T::Boolean ? ParseBoolean(text).has_value() : IsNumber(type, text);
}

bool IsIntegerList(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find(';');
        const std::string_view item = Trim(text.substr(0, end));
        if (!item.empty() && !ParseInteger(item)) return false;
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return true;
}

bool HasValueForm(NodeType type, const PropertyRecord& record) {
    const std::string_view value = record.value;
    switch (record.id) {
    case P::Value:
        return IsValue(type, value);
    case P::Min:
    case P::Max:
    case P::Inc:
    case P::ValueIndexed:
    case P::ValueDefault:
        return IsNumber(type, value);
    case P::Constant: // of a fraction in an integer formula as well as a number written there
    case P::NumericValue:
        return ParseFloat(value).has_value();
    case P::Address:
    case P::Length:
    case P::Bit:
    case P::LSB:
    case P::MSB:
    case P::OnValue:
    case P::OffValue:
    case P::CommandValue:
    case P::PollingTime:
    case P::DisplayPrecision:
        return ParseInteger(value).has_value();
    case P::Visibility:
        return ParseKeyword(Keyword::Visibility, value).has_value();
    case P::AccessMode:
    case P::ImposedAccessMode:
        return ParseKeyword(Keyword::AccessMode, value).has_value();
    case P::Cachable:
        return ParseKeyword(Keyword::CachingMode, value).has_value();
    case P::Representation:
        return ParseKeyword(Keyword::Representation, value).has_value();
    case P::Sign:
        return ParseKeyword(Keyword::Sign, value).has_value();
    case P::Endianess:
        return ParseKeyword(Keyword::Endianess, value).has_value();
    case P::Slope:
        return ParseKeyword(Keyword::Slope, value).has_value();
    case P::DisplayNotation:
        return ParseKeyword(Keyword::DisplayNotation, value).has_value();
    case P::Streamable:
    case P::IsDeprecated:
    case P::IsLinear:
    case P::IsSelfClearing:
    case P::SwapEndianess:
    case P::CacheChunkData:
    case P::IsFeature:
        return ParseYesNo(value).has_value();
    case P::ChunkID:
    case P::EventID:
        return IsHexPairs(value);
    case P::ValidValueSet:
        return IsIntegerList(value);
    default:
        return !IsLink(record.id) || !Trim(value).empty();
    }
}

bool HasAttributeForm(const PropertyRecord& record) {
    switch (record.attributeKind) {
    case AttributeKind::Index:
    case AttributeKind::Offset:
        return ParseInteger(record.attribute).has_value();
    case AttributeKind::Name:
    case AttributeKind::pOffset:
        return !record.attribute.empty();
    case AttributeKind::None:
        // An index of a register may do without; the others need theirs.
        return AttributeOf(record.id) == AttributeKind::None || record.id == P::pIndex;
    }
    return true;
}

} // namespace

bool HasProperty(NodeType type, PropertyId id) {
    static const auto* const pSets = [] {
        auto* const pMade = new std::array<PropertySet, kNodeTypeCount>;
        for (std::size_t i = 0; i < kNodeTypeCount; ++i)
            (*pMade)[i] = MakeSet(static_cast<NodeType>(i));
        return pMade;
    }();
    return (*pSets)[static_cast<std::size_t>(type)].test(static_cast<std::size_t>(id));
}

bool IsVitalLink(PropertyId id) {
    switch (id) {
    case P::pBlockPolling:
    case P::pError:
    case P::pAlias:
    case P::pCastAlias:
    case P::pInvalidator:
    case P::pFeature:
    case P::pSelected:
    case P::pSelecting:
    case P::pDependent:
    case P::pTerminal:
    case P::p1212Parser:
        return false;
    default:
        return IsLink(id);
    }
}

bool IsVitalProperty(PropertyId id) {
    switch (id) {
    case P::Visibility:
    case P::IsDeprecated:
    case P::Streamable:
    case P::Representation:
    case P::DisplayNotation:
    case P::DisplayPrecision:
    case P::PollingTime:
    case P::IsFeature:
        return false;
    default:
        return true;
    }
}

bool IsDependencyLink(PropertyId id) {
    switch (id) {
    case P::pFeature:
    case P::pAlias:
    case P::pCastAlias:
    case P::pError:
    case P::pBlockPolling:
    case P::pSelected:  // the other way round
    case P::pDependent: // the other way round
    case P::pSelecting:
    case P::pTerminal:
    case P::p1212Parser:
        return false;
    default:
        return IsLink(id);
    }
}

std::string CheckForm(NodeType type, const PropertyRecord& record) {
    const bool isValueBad = !HasValueForm(type, record);
    if (!isValueBad && HasAttributeForm(record)) return {};
    return (isValueBad ? "malformed value '" + std::string(record.value)
                       : "malformed attribute '" + std::string(record.attribute)) +
           "' of " + std::string(PropertyName(record.id));
}

} // namespace genapi
