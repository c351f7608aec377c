#include "genapi/loader/Loader.h"

#include "genapi/description/Lexical.h"
#include "genapi/loader/NodeElements.h"
#include "genapi/loader/RecordBuilder.h"
#include "genapi/loader/XmlText.h"

#include <Base/GCException.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
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

std::string ReadFile(const std::string& path) {
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "rb"));
    if (!file) throw RUNTIME_EXCEPTION("Cannot open file '%hs': %hs", path.c_str(), std::strerror(errno));
    std::string text;
    std::size_t count = 0;
    do {
        constexpr std::size_t kChunkSize = std::size_t{256} << 10;
        const std::size_t before = text.size();
        text.resize(before + kChunkSize);
        count = std::fread(text.data() + before, 1, kChunkSize, file.get());
        text.resize(before + count);
        if (text.size() > kMaxDescriptionSize) throw RUNTIME_EXCEPTION("File '%hs' is too large", path.c_str());
    } while (count != 0);
    if (std::ferror(file.get()) != 0) throw RUNTIME_EXCEPTION("Cannot read file '%hs'", path.c_str());
    return text;
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
        injected.emplace(inject, "injected text");
        const NodeElements more = CollectNodeElements(*injected, description.problems);
        InjectNodeElements(elements, more, description.problems);
    }
    RecordBuilder(description, arena).Run(elements);
    description.texts.push_back(text.TakeBuffer());
    if (injected) description.texts.push_back(injected->TakeBuffer());
    arena.MoveTo(description.texts);
    return description;
}

Description ParseDescriptionFile(const std::string& path, std::string_view inject) {
    return ParseDescription(ReadDescriptionFile(path), inject, path);
}

std::string ReadDescriptionFile(const std::string& path) {
    std::string text = ReadFile(path);
    if (text.compare(0, 4, "PK\3\4") == 0) return UnzipDescription(text.data(), text.size());
    return text;
}

std::string MergeDescriptions(std::string_view target, std::string_view inject) {
    return WriteDescription(ParseDescription(target, inject));
}

} // namespace genapi
