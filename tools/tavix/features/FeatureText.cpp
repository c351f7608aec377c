#include "features/FeatureText.h"

#include "Error.h"
#include "output/Text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace tool {
namespace {

constexpr std::int64_t kLongestBytes = 16; // a register of more bytes is not shown

std::string FloatText(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

/// Without what a computation of floating-point numbers leaves behind the twelfth digit.
double Rounded(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", value);
    return std::strtod(text, nullptr);
}

/// What a reader gives, or an empty result when the camera refuses it now.
template<class Reader>
auto Try(Reader reader) -> decltype(reader()) {
    try {
        return reader();
    } catch (const GenICam::GenericException&) {
        return {};
    }
}

bool IsLimit(std::int64_t value) {
    return value != std::numeric_limits<std::int64_t>::min() && value != std::numeric_limits<std::int64_t>::max();
}

/// The ends of the ranges of float and double are no limits, and neither is what lies beyond a float.
bool IsLimit(double value) {
    return std::isfinite(value) && std::fabs(value) < 0.99 * static_cast<double>(std::numeric_limits<float>::max());
}

template<class Value, class Format>
std::string RangeText(Value low, Value high, Format format) {
    if (IsLimit(low) && IsLimit(high)) return format(low) + " .. " + format(high);
    if (IsLimit(low)) return format(low) + " or more";
    return IsLimit(high) ? format(high) + " or less" : std::string();
}

std::string IntegerLimits(GenApi::IInteger& feature) {
    std::string text = RangeText(feature.GetMin(), feature.GetMax(), [](std::int64_t v) { return std::to_string(v); });
    const bool hasStep = feature.GetIncMode() == GenApi::fixedIncrement && feature.GetInc() > 1;
    return hasStep ? text + " step " + std::to_string(feature.GetInc()) : text;
}

std::string FloatLimits(GenApi::IFloat& feature) {
    std::string text = RangeText(feature.GetMin(), feature.GetMax(), FloatText);
    const bool hasStep = feature.HasInc() && feature.GetIncMode() == GenApi::fixedIncrement;
    return hasStep ? text + " step " + FloatText(feature.GetInc()) : text;
}

std::string EntryNames(GenApi::IEnumeration& feature) {
    GenApi::StringList_t names;
    feature.GetSymbolics(names);
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + Text(name);
    return text;
}

std::string AllEntryNames(GenApi::IEnumeration& feature) {
    GenApi::NodeList_t entries;
    feature.GetEntries(entries);
    std::string text;
    for (GenApi::INode* node : entries) {
        if (auto* entry = dynamic_cast<GenApi::IEnumEntry*>(node)) {
            text += (text.empty() ? "" : ", ") + Text(entry->GetSymbolic());
        }
    }
    return text;
}

/// A limit as a number, or the name of the node that gives it.
std::string Declared(GenApi::INode& node, const char* limit) {
    GenICam::gcstring value, attribute;
    if (node.GetProperty(limit, value, attribute)) return Text(value);
    return node.GetProperty((std::string("p") + limit).c_str(), value, attribute) ? Text(value) : std::string();
}

/// The same; where nothing is written down, what follows without a camera, from the size of a register for instance.
template<class Getter, class Format>
std::string DeclaredOr(GenApi::INode& node, const char* limit, Getter getter, Format format) {
    const std::string declared = Declared(node, limit);
    if (!declared.empty()) return declared;
    return Try([&]() -> std::string {
        const auto value = getter();
        return IsLimit(value) ? format(value) : std::string();
    });
}

std::string DeclaredRange(const std::string& low, const std::string& high) {
    if (low.empty()) return high.empty() ? std::string() : high + " or less";
    return high.empty() ? low + " or more" : low + " .. " + high;
}

std::string DeclaredNumbers(GenApi::INode& node) {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) {
        const auto format = [](std::int64_t value) { return std::to_string(value); };
        return DeclaredRange(DeclaredOr(
                                 node, "Min", [&] { return integer->GetMin(); }, format),
                             DeclaredOr(
                                 node, "Max", [&] { return integer->GetMax(); }, format));
    }
    if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) {
        return DeclaredRange(DeclaredOr(
                                 node, "Min", [&] { return number->GetMin(); }, FloatText),
                             DeclaredOr(
                                 node, "Max", [&] { return number->GetMax(); }, FloatText));
    }
    return {};
}

std::string DeclaredStep(GenApi::INode& node) {
    const std::string declared = Declared(node, "Inc");
    if (!declared.empty()) return declared;
    return Try([&]() -> std::string {
        auto* integer = dynamic_cast<GenApi::IInteger*>(&node);
        return integer && integer->GetInc() > 1 ? std::to_string(integer->GetInc()) : std::string();
    });
}

template<class Value>
void AddRange(nlohmann::json& out, Value low, Value high) {
    if (IsLimit(low)) out["min"] = low;
    if (IsLimit(high)) out["max"] = high;
}

void AddLimits(nlohmann::json& out, GenApi::INode& node) {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) {
        AddRange(out, integer->GetMin(), integer->GetMax());
        out["increment"] = integer->GetInc();
    } else if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) {
        AddRange(out, number->GetMin(), number->GetMax());
        if (number->HasInc()) out["increment"] = Rounded(number->GetInc());
    } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) {
        GenApi::StringList_t names;
        enumeration->GetSymbolics(names);
        out["entries"] = nlohmann::json::array();
        for (const auto& name : names)
            out["entries"].push_back(Text(name));
    }
}

nlohmann::json ValueJson(GenApi::INode& node) {
    switch (node.GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger:
        return dynamic_cast<GenApi::IInteger&>(node).GetValue();
    case GenApi::intfIFloat:
        return dynamic_cast<GenApi::IFloat&>(node).GetValue();
    case GenApi::intfIBoolean:
        return dynamic_cast<GenApi::IBoolean&>(node).GetValue();
    case GenApi::intfIString:
        return Text(dynamic_cast<GenApi::IString&>(node).GetValue());
    default:
        break;
    }
    auto* value = dynamic_cast<GenApi::IValue*>(&node);
    return value ? nlohmann::json(Text(value->ToString())) : nlohmann::json();
}

std::string ReadText(GenApi::INode& node) {
    switch (node.GetPrincipalInterfaceType()) {
    case GenApi::intfIString:
        return Printable(Text(dynamic_cast<GenApi::IString&>(node).GetValue()));
    case GenApi::intfIRegister: {
        const std::int64_t length = dynamic_cast<GenApi::IRegister&>(node).GetLength();
        if (length > kLongestBytes) return "(" + std::to_string(length) + " bytes)";
        break;
    }
    default:
        break;
    }
    auto* value = dynamic_cast<GenApi::IValue*>(&node);
    return value ? Printable(Text(value->ToString())) : std::string();
}

} // namespace

const char* TypeName(GenApi::INode& node) {
    switch (node.GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger:
        return "Integer";
    case GenApi::intfIBoolean:
        return "Boolean";
    case GenApi::intfICommand:
        return "Command";
    case GenApi::intfIFloat:
        return "Float";
    case GenApi::intfIString:
        return "String";
    case GenApi::intfIRegister:
        return "Register";
    case GenApi::intfICategory:
        return "Category";
    case GenApi::intfIEnumeration:
        return "Enumeration";
    case GenApi::intfIEnumEntry:
        return "EnumEntry";
    case GenApi::intfIPort:
        return "Port";
    default:
        return "Node";
    }
}

const char* AccessName(GenApi::INode& node) {
    try {
        switch (node.GetAccessMode()) {
        case GenApi::NI:
            return "NI";
        case GenApi::NA:
            return "NA";
        case GenApi::WO:
            return "WO";
        case GenApi::RO:
            return "RO";
        case GenApi::RW:
            return "RW";
        default:
            return "??";
        }
    } catch (const GenICam::GenericException&) {
        return "??";
    }
}

std::string ValueText(GenApi::INode& node, std::string* failure) {
    try {
        if (node.GetPrincipalInterfaceType() == GenApi::intfICommand) return "(command)";
        if (!GenApi::IsReadable(node.GetAccessMode())) return "(not readable now)";
        return ReadText(node);
    } catch (const GenICam::GenericException& e) {
        const std::string reason = Printable(Reason(e));
        if (failure != nullptr) *failure = reason;
        return "(" + reason + ")";
    }
}

std::string LimitText(GenApi::INode& node) {
    return Try([&]() -> std::string {
        if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) return IntegerLimits(*integer);
        if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) return FloatLimits(*number);
        if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) return EntryNames(*enumeration);
        return {};
    });
}

std::string DeclaredText(GenApi::INode& node) {
    return Try([&]() -> std::string {
        if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) return AllEntryNames(*enumeration);
        const std::string range = DeclaredNumbers(node), step = DeclaredStep(node);
        return range.empty() || step.empty() ? range : range + " step " + step;
    });
}

std::string UnitText(GenApi::INode& node) {
    return Try([&]() -> std::string {
        if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) return Printable(Text(integer->GetUnit()));
        if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) return Printable(Text(number->GetUnit()));
        return {};
    });
}

nlohmann::json FeatureJson(GenApi::INode& node) {
    nlohmann::json out{{"name", Text(node.GetName())}, {"type", TypeName(node)}, {"access", AccessName(node)}};
    if (const std::string unit = UnitText(node); !unit.empty()) out["unit"] = unit;
    try {
        if (node.GetPrincipalInterfaceType() == GenApi::intfICommand) return out;
        if (GenApi::IsReadable(node.GetAccessMode())) out["value"] = ValueJson(node);
        if (GenApi::IsWritable(node.GetAccessMode())) AddLimits(out, node);
    } catch (const GenICam::GenericException& e) {
        out["error"] = Reason(e);
    }
    return out;
}

} // namespace tool
