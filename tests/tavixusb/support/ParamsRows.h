#pragma once
// Rows of the tables of parameter node maps, and what must be true of each.

#include <GenApi/INodeMap.h>
#include <GenApi/IRegister.h>
#include <GenApi/IValue.h>
#include <GenApi/Pointer.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using NodeProperties = std::map<std::string, std::string>;

/// A node with the properties that its row of the table names; lists joined with a tab.
struct NodeRow {
    const char* name;
    GenApi::EInterfaceType type;
    NodeProperties properties;
};

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

inline std::vector<std::string> FeatureNames(GenApi::INodeMap& map, const char* category) {
    GenApi::FeatureList_t features;
    GenApi::CCategoryPtr(map.GetNode(category))->GetFeatures(features);
    std::vector<std::string> names;
    for (GenApi::IValue* feature : features)
        names.emplace_back(feature->GetNode()->GetName().c_str());
    return names;
}
