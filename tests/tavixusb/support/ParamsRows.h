#pragma once
// Rows of the tables of parameter node maps, and what must be true of each.

#include <GenApi/INodeMap.h>
#include <GenApi/IRegister.h>
#include <GenApi/IValue.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>

#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

using NodeProperties = std::map<std::string, std::string>;

/// A node with the properties that its row of the table names; lists joined with a tab.
struct NodeRow {
    const char* name;
    GenApi::EInterfaceType type;
    NodeProperties properties;
};

inline void PrintTo(const NodeRow& row, std::ostream* out) {
    *out << row.name;
}

inline NodeProperties RegisterProperties(const char* address, const char* length, const char* access, const char* sign,
                                         const char* port, const NodeProperties& others = {}) {
    NodeProperties all = {
        {"Address", address}, {"Length", length},      {"AccessMode", access},        {"Sign", sign},
        {"pPort", port},      {"Cachable", "NoCache"}, {"Endianess", "LittleEndian"}, {"Visibility", "Expert"}};
    all.insert(others.begin(), others.end());
    return all;
}

inline void ExpectRow(GenApi::INodeMap& map, const NodeRow& row) {
    GenApi::INode* const node = map.GetNode(row.name);
    ASSERT_NE(nullptr, node) << row.name;
    EXPECT_EQ(row.type, node->GetPrincipalInterfaceType()) << row.name;
    EXPECT_EQ(GenApi::Custom, node->GetNameSpace()) << row.name;
    for (const auto& [name, expected] : row.properties) {
        if (name == "IsFeature") {
            EXPECT_EQ(expected == "Yes", node->IsFeature()) << row.name;
            continue;
        }
        GenICam::gcstring value, attribute;
        EXPECT_TRUE(node->GetProperty(name, value, attribute)) << row.name << " " << name;
        EXPECT_EQ(expected, value.c_str()) << row.name << " " << name;
    }
}

/// The node's properties in the order in which they were set.
inline std::vector<std::string> PropertyNames(GenApi::INodeMap& map, const char* node) {
    GenICam::gcstring_vector names;
    map.GetNode(node)->GetPropertyNames(names);
    std::vector<std::string> result;
    for (const auto& name : names)
        result.emplace_back(name.c_str());
    return result;
}

inline std::vector<std::string> NodeNames(GenApi::INodeMap& map) {
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    std::vector<std::string> names;
    for (GenApi::INode* node : nodes)
        names.emplace_back(node->GetName().c_str());
    return names;
}

/// How often a step lets callbacks of the node run.
template<class Step>
int CallbacksOf(GenApi::INodeMap& map, const std::string& node, Step step) {
    int calls = 0;
    const GenApi::CallbackHandleType handle =
        GenApi::Register(map.GetNode(node.c_str()), [&](GenApi::INode*) { ++calls; });
    step();
    GenApi::Deregister(handle);
    return calls;
}

inline std::vector<std::string> FeatureNames(GenApi::INodeMap& map, const char* category) {
    GenApi::FeatureList_t features;
    GenApi::CCategoryPtr(map.GetNode(category))->GetFeatures(features);
    std::vector<std::string> names;
    for (GenApi::IValue* feature : features)
        names.emplace_back(feature->GetNode()->GetName().c_str());
    return names;
}
