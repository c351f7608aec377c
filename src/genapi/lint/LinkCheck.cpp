#include "genapi/lint/Checks.h"
#include "genapi/lint/NameSearch.h"
#include "genapi/nodes/PropertyRules.h"

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

// What a node can be read as.
enum class Kind : uint8_t { Integer, Float, Boolean, Enumeration, Text, Port, ConfRom, Other };

Kind KindOf(NodeType type) {
    switch (type) {
    case T::Integer:
    case T::IntReg:
    case T::MaskedIntReg:
    case T::IntSwissKnife:
    case T::IntConverter:
    case T::IntKey:
    case T::AdvFeatureLock:
    case T::SmartFeature:
        return Kind::Integer;
    case T::Float:
    case T::FloatReg:
    case T::Converter:
    case T::SwissKnife:
        return Kind::Float;
    case T::Boolean:
        return Kind::Boolean;
    case T::Enumeration:
        return Kind::Enumeration;
    case T::String:
    case T::StringReg:
    case T::TextDesc:
        return Kind::Text;
    case T::Port:
        return Kind::Port;
    case T::ConfRom:
        return Kind::ConfRom;
    default:
        return Kind::Other;
    }
}

bool IsNumber(Kind kind) {
    return kind == Kind::Integer || kind == Kind::Float || kind == Kind::Boolean || kind == Kind::Enumeration;
}

// Without such a target the link cannot do its work.
bool IsUsable(NodeType owner, PropertyId id, NodeType target) {
    const Kind kind = KindOf(target);
    switch (id) {
    case P::pPort:
        return kind == Kind::Port;
    case P::pEnumEntry:
        return target == T::EnumEntry;
    case P::pError:
        return kind == Kind::Enumeration;
    case P::p1212Parser:
        return kind == Kind::ConfRom;
    case P::pChunkID:
        return kind == Kind::Text;
    case P::pFeature:
        return target != T::EnumEntry;
    case P::pValue:
        return owner == T::String ? kind == Kind::Text : IsNumber(kind);
    default:
        return !IsDependencyLink(id) || id == P::pInvalidator || IsNumber(kind);
    }
}

// What the schema of the file's version allows.
bool IsInSchema(NodeType owner, PropertyId id, NodeType target, bool isNewSchema) {
    const Kind kind = KindOf(target);
    const bool isPlain = kind == Kind::Integer || kind == Kind::Float;
    switch (id) {
    case P::pAddress:
        return kind == Kind::Integer || kind == Kind::Enumeration;
    case P::pLength:
        return kind == Kind::Integer;
    case P::pIsImplemented:
    case P::pIsAvailable:
    case P::pIsLocked:
        return isNewSchema || kind == Kind::Integer || kind == Kind::Boolean;
    case P::pVariable:
        return isNewSchema ? true : isPlain;
    case P::pValue:
        if (owner == T::String) return true;
        if (isNewSchema) return kind != Kind::Boolean || (owner != T::Float && owner != T::Converter);
        if (owner == T::Float) return kind == Kind::Float;
        return owner == T::Converter ? isPlain : kind == Kind::Integer;
    case P::pMin:
    case P::pMax:
    case P::pInc:
        if (isNewSchema) return true;
        return kind == (owner == T::Float ? Kind::Float : Kind::Integer);
    default:
        return true;
    }
}

void CheckLink(const LintModel& model, int node, const PropertyRecord& property, std::string_view name,
               NameSearch& search, Findings& findings) {
    if (findings.IsFull()) return;
    const NodeRecord& owner = model.Node(node);
    const std::string link(property.value == name ? PropertyName(property.id) : "pOffset");
    const int target = model.Find(name);
    if (target == LintModel::kNone) {
        const std::string_view near = search.Nearest(name);
        const Rule rule = IsVitalLink(property.id) ? Rule::DanglingLink : Rule::LooseLink;
        findings.Add(rule, model.PlaceOf(node, property), owner.name,
                     link + " names the unknown node '" + std::string(name) + "'",
                     near.empty() ? "" : "did you mean '" + std::string(near) + "'?");
        return;
    }
    const NodeType type = model.Node(target).type;
    const bool isUsable = IsUsable(owner.type, property.id, type);
    if (isUsable && IsInSchema(owner.type, property.id, type, model.IsNewSchema())) return;
    const std::string text =
        link + " leads to '" + std::string(name) + "', which is of the kind " + std::string(NodeTypeName(type));
    findings.Add(isUsable ? Rule::OddTarget : Rule::WrongTarget, model.PlaceOf(node, property), owner.name, text);
}

} // namespace

void CheckLinks(const LintModel& model, Findings& findings) {
    NameSearch search(model);
    for (int node = 0; node < model.Count(); ++node) {
        for (const PropertyRecord& property : model.Node(node).properties) {
            if (!HasProperty(model.Node(node).type, property.id)) continue;
            if (IsLink(property.id)) CheckLink(model, node, property, property.value, search, findings);
            if (property.attributeKind == AttributeKind::pOffset)
                CheckLink(model, node, property, property.attribute, search, findings);
        }
    }
}

} // namespace genapi
