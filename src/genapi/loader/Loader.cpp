#include "genapi/loader/Loader.h"

#include "genapi/description/Lexical.h"
#include "genapi/loader/NodeElements.h"
#include "genapi/loader/RecordBuilder.h"
#include "genapi/loader/xml/XmlText.h"

#include <optional>

namespace genapi {

namespace {

bool IsVersionNumber(MapProperty property) {
    switch (property) {
    case MapProperty::SchemaMajorVersion:
    case MapProperty::SchemaMinorVersion:
    case MapProperty::SchemaSubMinorVersion:
    case MapProperty::MajorVersion:
    case MapProperty::MinorVersion:
    case MapProperty::SubMinorVersion:
        return true;
    default:
        return false;
    }
}

std::string_view RootValue(const XmlText& text, MapProperty property) {
    if (property == MapProperty::SchemaMajorVersion) return text.SchemaMajor();
    if (property == MapProperty::SchemaMinorVersion) return text.SchemaMinor();
    const std::string_view name = kMapPropertyNames[static_cast<std::size_t>(property)];
    const pugi::xml_attribute attribute = text.Root().attribute(name.data());
    if (property == MapProperty::ToolTip) return attribute.value();
    return Trim(attribute.value());
}

void ReadRoot(const XmlText& text, Description& description) {
    description.nameSpaceUri = text.NameSpaceUri();
    for (std::size_t i = 0; i < kMapPropertyNames.size(); ++i) {
        const auto property = static_cast<MapProperty>(i);
        std::string_view value = RootValue(text, property);
        if (IsVersionNumber(property) && !ParseInteger(value)) {
            if (!value.empty()) {
                Report(description.problems, text.Line(text.Root()), {},
                       std::string(kMapPropertyNames[i]) + " is no number");
            }
            value = "0";
        }
        description.info[i] = value;
    }
}

} // namespace

Description ParseDescription(std::string_view xml, std::string_view inject, std::string_view source) {
    Description description;
    TextArena arena;
    XmlText text(xml, source);
    std::optional<XmlText> injected;
    ReadRoot(text, description);
    NodeElements elements = CollectNodeElements(text, description.problems);
    if (!Trim(inject).empty()) {
        injected.emplace(inject, "injected text", text.Cost());
        const NodeElements more = CollectNodeElements(*injected, description.problems);
        InjectNodeElements(elements, more, description.problems);
    }
    // An element that becomes no node becomes a property, as a rule.
    const std::size_t count = text.Elements() + (injected ? injected->Elements() : 0);
    description.properties.reserve(count - elements.size());
    RecordBuilder(description, arena).Run(elements);
    description.texts.push_back(text.TakeBuffer());
    if (injected) description.texts.push_back(injected->TakeBuffer());
    arena.MoveTo(description.texts);
    return description;
}

Description ParseDescriptionFile(const std::string& path, std::string_view inject) {
    return ParseDescription(ReadDescriptionFile(path), inject, path);
}

std::string MergeDescriptions(std::string_view target, std::string_view inject) {
    return WriteDescription(ParseDescription(target, inject));
}

} // namespace genapi
