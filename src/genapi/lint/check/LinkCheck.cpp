#include "genapi/lint/NameSearch.h"
#include "genapi/lint/check/Checks.h"
#include "genapi/nodes/base/PropertyRules.h"

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

bool IsNumber(GenApi::EInterfaceType face) {
    return face == GenApi::intfIInteger || face == GenApi::intfIFloat || face == GenApi::intfIBoolean ||
           face == GenApi::intfIEnumeration;
}

// Without such a target the link cannot do its work.
bool IsUsable(NodeType owner, PropertyId id, NodeType target) {
    const GenApi::EInterfaceType face = TraitsOf(target).face;
    switch (id) {
    case P::pPort:
        return face == GenApi::intfIPort;
    case P::pEnumEntry:
        return target == T::EnumEntry;
    case P::pError:
        return face == GenApi::intfIEnumeration;
    case P::p1212Parser:
        return target == T::ConfRom;
    case P::pChunkID:
        return face == GenApi::intfIString;
    case P::pFeature:
        return target != T::EnumEntry;
    case P::pValue:
        return owner == T::String ? face == GenApi::intfIString : IsNumber(face);
    default:
        return !IsDependencyLink(id) || id == P::pInvalidator || IsNumber(face);
    }
}

// What the schema of the file's version allows.
bool IsInSchema(NodeType owner, PropertyId id, NodeType target, bool isNewSchema) {
    const GenApi::EInterfaceType face = TraitsOf(target).face;
    const bool isPlain = face == GenApi::intfIInteger || face == GenApi::intfIFloat;
    switch (id) {
    case P::pAddress:
        return face == GenApi::intfIInteger || face == GenApi::intfIEnumeration;
    case P::pLength:
        return face == GenApi::intfIInteger;
    case P::pIsImplemented:
    case P::pIsAvailable:
    case P::pIsLocked:
        return isNewSchema || face == GenApi::intfIInteger || face == GenApi::intfIBoolean;
    case P::pVariable:
        return isNewSchema ? true : isPlain;
    case P::pValue:
        if (owner == T::String) return true;
        if (isNewSchema) return face != GenApi::intfIBoolean || (owner != T::Float && owner != T::Converter);
        if (owner == T::Float) return face == GenApi::intfIFloat;
        return owner == T::Converter ? isPlain : face == GenApi::intfIInteger;
    case P::pMin:
    case P::pMax:
    case P::pInc:
        if (isNewSchema) return true;
        return face == (owner == T::Float ? GenApi::intfIFloat : GenApi::intfIInteger);
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
