#include "genapi/nodes/base/PropertyRules.h"

#include "genapi/description/Lexical.h"

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

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
    switch (TraitsOf(record.id).form) {
    case Form::Text:
    case Form::FreeText:
        return true;
    case Form::Link:
        return !Trim(value).empty();
    case Form::Value:
        return IsValue(type, value);
    case Form::Number:
        return IsNumber(type, value);
    case Form::Integer:
        return ParseInteger(value).has_value();
    case Form::Float: // also a constant in an integer formula, which may be a fraction
        return ParseFloat(value).has_value();
    case Form::YesNo:
        return ParseYesNo(value).has_value();
    case Form::HexPairs:
        return IsHexPairs(value);
    case Form::IntegerList:
        return IsIntegerList(value);
    case Form::Visibility:
        return ParseKeyword(Keyword::Visibility, value).has_value();
    case Form::AccessMode:
        return ParseKeyword(Keyword::AccessMode, value).has_value();
    case Form::CachingMode:
        return ParseKeyword(Keyword::CachingMode, value).has_value();
    case Form::Representation:
        return ParseKeyword(Keyword::Representation, value).has_value();
    case Form::Sign:
        return ParseKeyword(Keyword::Sign, value).has_value();
    case Form::Endianess:
        return ParseKeyword(Keyword::Endianess, value).has_value();
    case Form::Slope:
        return ParseKeyword(Keyword::Slope, value).has_value();
    case Form::DisplayNotation:
        return ParseKeyword(Keyword::DisplayNotation, value).has_value();
    }
    return true;
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

bool HasForm(NodeType type, const PropertyRecord& record) {
    return HasValueForm(type, record) && HasAttributeForm(record);
}

std::string CheckForm(NodeType type, const PropertyRecord& record) {
    const bool isValueBad = !HasValueForm(type, record);
    if (!isValueBad && HasAttributeForm(record)) return {};
    return (isValueBad ? "malformed value '" + std::string(record.value)
                       : "malformed attribute '" + std::string(record.attribute)) +
           "' of " + std::string(PropertyName(record.id));
}

} // namespace genapi
