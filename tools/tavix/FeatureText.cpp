#include "FeatureText.h"
#include "Text.h"

#include <cstdio>

namespace tool {
namespace {

std::string Number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
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

std::string IntegerLimits(GenApi::IInteger& feature) {
    std::string text = std::to_string(feature.GetMin()) + " .. " + std::to_string(feature.GetMax());
    if (feature.GetInc() != 1) text += " step " + std::to_string(feature.GetInc());
    const std::string unit = Text(feature.GetUnit());
    return unit.empty() ? text : text + " " + unit;
}

std::string FloatLimits(GenApi::IFloat& feature) {
    const std::string unit = Text(feature.GetUnit());
    return Number(feature.GetMin()) + " .. " + Number(feature.GetMax()) + (unit.empty() ? "" : " " + unit);
}

std::string EntryNames(GenApi::IEnumeration& feature) {
    GenApi::StringList_t names;
    feature.GetSymbolics(names);
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + Text(name);
    return text;
}

void AddLimits(nlohmann::json& json, GenApi::INode& node) {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) {
        json["min"] = integer->GetMin();
        json["max"] = integer->GetMax();
        json["increment"] = integer->GetInc();
        json["unit"] = Text(integer->GetUnit());
    } else if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) {
        json["min"] = number->GetMin();
        json["max"] = number->GetMax();
        json["unit"] = Text(number->GetUnit());
    } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) {
        GenApi::StringList_t names;
        enumeration->GetSymbolics(names);
        json["entries"] = nlohmann::json::array();
        for (const auto& name : names)
            json["entries"].push_back(Text(name));
    }
}

nlohmann::json ValueJson(GenApi::INode& node) {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) return integer->GetValue(true);
    if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) return number->GetValue(true);
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(&node)) return boolean->GetValue(true);
    if (auto* value = dynamic_cast<GenApi::IValue*>(&node)) return Text(value->ToString(true));
    return nullptr;
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

std::string ValueText(GenApi::INode& node) {
    try {
        if (node.GetPrincipalInterfaceType() == GenApi::intfICommand) return "(command)";
        if (!GenApi::IsReadable(node.GetAccessMode())) return "(not readable now)";
        if (auto* bytes = dynamic_cast<GenApi::IRegister*>(&node); bytes && bytes->GetLength() > 32) {
            return "(" + std::to_string(bytes->GetLength()) + " bytes)";
        }
        auto* value = dynamic_cast<GenApi::IValue*>(&node);
        return value ? Text(value->ToString()) : std::string();
    } catch (const GenICam::GenericException& e) {
        return std::string("(") + e.GetDescription() + ")";
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

nlohmann::json FeatureJson(GenApi::INode& node) {
    nlohmann::json json{{"name", Text(node.GetName())}, {"type", TypeName(node)}, {"access", AccessName(node)}};
    try {
        if (node.GetPrincipalInterfaceType() == GenApi::intfICommand) return json;
        if (!GenApi::IsReadable(node.GetAccessMode())) return json;
        json["value"] = ValueJson(node);
        AddLimits(json, node);
    } catch (const GenICam::GenericException& e) {
        json["error"] = e.GetDescription();
    }
    return json;
}

} // namespace tool
