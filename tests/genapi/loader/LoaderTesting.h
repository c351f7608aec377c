#pragma once
// Words for tests of the loader.

#include "genapi/loader/Loader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace genapi::testkit {

// A description of schema 1.1 around the given nodes.
inline std::string Wrap(std::string_view nodes, std::string_view attributes = R"(SchemaMinorVersion="1")") {
    return R"(<?xml version="1.0"?><RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None" )"
           R"(SchemaMajorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="2" SubMinorVersion="3" )"
           R"(ProductGuid="P" VersionGuid="G" xmlns="http://www.genicam.org/GenApi/Version_1_1" )" +
           std::string(attributes) + ">" + std::string(nodes) + "</RegisterDescription>";
}

inline Description Load(std::string_view nodes, std::string_view inject = {}) {
    return ParseDescription(Wrap(nodes), inject.empty() ? std::string() : Wrap(inject));
}

inline const NodeRecord* FindNode(const Description& description, std::string_view name) {
    const auto found = std::find_if(description.nodes.begin(), description.nodes.end(),
                                    [&](const NodeRecord& node) { return node.name == name; });
    return found == description.nodes.end() ? nullptr : &*found;
}

inline std::vector<std::string> Names(const Description& description) {
    std::vector<std::string> names;
    for (const NodeRecord& node : description.nodes)
        names.emplace_back(node.name);
    return names;
}

// The properties of a node in order, as "Address=0x10", "pIndex[Offset:4]=Sel".
inline std::vector<std::string> Properties(const Description& description, std::string_view name) {
    const NodeRecord* const node = FindNode(description, name);
    if (node == nullptr) return {"no node " + std::string(name)};
    std::vector<std::string> texts;
    for (const PropertyRecord& property : node->properties) {
        constexpr const char* kKinds[] = {"", "Name:", "Index:", "Offset:", "pOffset:"};
        std::string text(PropertyName(property.id));
        if (property.attributeKind != AttributeKind::None) {
            text += "[" + std::string(kKinds[static_cast<int>(property.attributeKind)]) +
                    std::string(property.attribute) + "]";
        }
        texts.push_back(text + "=" + std::string(property.value));
    }
    return texts;
}

// The texts of all problems.
inline std::vector<std::string> Problems(const Description& description) {
    std::vector<std::string> texts;
    for (const LoadProblem& problem : description.problems)
        texts.push_back(problem.node + ": " + problem.text);
    return texts;
}

} // namespace genapi::testkit
