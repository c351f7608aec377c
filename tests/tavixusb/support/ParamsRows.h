#pragma once
// Rows of the tables of parameter node maps, and what must be true of each.

#include "tavixusb/support/FakeVexlo.h"

#include <GenApi/IDeviceInfo.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IRegister.h>
#include <GenApi/IValue.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>

#include <gtest/gtest.h>

#include <cstdint>
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

/// A statistic of a grabber, polled each second.
inline NodeProperties StatisticProperties(const char* address, const char* length, const char* sign, const char* port,
                                          const char* displayName, const char* toolTip) {
    return RegisterProperties(address, length, "RO", sign, port,
                              {{"DisplayName", displayName},
                               {"ToolTip", toolTip},
                               {"PollingTime", "1000"},
                               {"pInvalidator", "StatusReg"},
                               {"IsFeature", "Yes"}});
}

inline NodeProperties EntryProperties(const char* value, const char* symbolic) {
    return {{"Value", value}, {"Symbolic", symbolic}, {"IsFeature", "No"}};
}

template<class Rows>
std::vector<std::string> RowNames(const Rows& rows) {
    std::vector<std::string> names;
    for (const NodeRow& row : rows)
        names.emplace_back(row.name);
    return names;
}

/// What the map says of itself.
inline void ExpectDescription(GenApi::IDeviceInfo& info, const char* model, const char* toolTip) {
    GenApi::Version_t version = {9, 9, 9};
    EXPECT_EQ(model, info.GetModelName());
    EXPECT_EQ("Vandrel", info.GetVendorName());
    EXPECT_EQ(toolTip, info.GetToolTip());
    EXPECT_EQ("None", info.GetStandardNameSpace());
    info.GetSchemaVersion(version);
    EXPECT_EQ(1, version.Major);
    EXPECT_EQ(0, version.Minor);
    EXPECT_EQ(0, version.SubMinor);
}

/// The node of the row reads the property at its address, as many bytes and with the sign that the row says.
inline void ExpectOwnProperty(GenApi::INodeMap& map, const NodeRow& row, FakeVexlo::Properties& properties) {
    const GenApi::CIntegerPtr node(map.GetNode(row.name));
    const auto address = static_cast<unsigned int>(std::stoul(row.properties.at("Address"), nullptr, 16));
    const bool isWide = row.properties.at("Length") == "8";
    const bool isSigned = row.properties.at("Sign") == "Signed";
    properties[address] = FakeVexlo::Bytes(8, 0xFF);
    EXPECT_EQ(isSigned ? std::int64_t(-1) : std::int64_t(0xFFFFFFFF), node->GetValue());
    properties[address] = FakeVexlo::Number(0x01020304'05060708, 8);
    EXPECT_EQ(isWide ? 0x01020304'05060708 : 0x05060708, node->GetValue());
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

/// A statistic of a grabber is forgotten with its status and each second.
template<class Map>
void ExpectStatusAndPolling(Map& map, const std::string& node) {
    EXPECT_EQ(1000, map.GetNode(node.c_str())->GetPollingTime());
    EXPECT_EQ(1, CallbacksOf(map, node, [&] { map.StatusReg().SetValue(1); }));
    EXPECT_EQ(0, CallbacksOf(map, node, [&] { map.Poll(999); }));
    EXPECT_EQ(1, CallbacksOf(map, node, [&] { map.Poll(1); }));
}

inline std::vector<std::string> FeatureNames(GenApi::INodeMap& map, const char* category) {
    GenApi::FeatureList_t features;
    GenApi::CCategoryPtr(map.GetNode(category))->GetFeatures(features);
    std::vector<std::string> names;
    for (GenApi::IValue* feature : features)
        names.emplace_back(feature->GetNode()->GetName().c_str());
    return names;
}
