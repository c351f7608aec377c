// Who names a node: parents and selectors.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::TestMap;

TEST(ReverseLinks, NameAParentOnceHoweverOftenItNamesTheNode) {
    TestMap map;
    map.Add("Integer", "Held", {{"Value", "1", ""}});
    map.Add("Integer", "User", {{"pValue", "Held", ""}, {"pMax", "Held", ""}, {"pInvalidator", "Held", ""}}).Ready();
    NodeList_t nodes;
    map.Node("Held").GetParents(nodes);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("User")});
}

TEST(ReverseLinks, NameParentsInTheOrderOfTheMap) {
    TestMap map;
    map.Add("Integer", "First", {{"pValue", "Held", ""}});
    map.Add("Category", "Second", {{"pFeature", "Held", ""}});
    map.Add("Integer", "Held", {{"Value", "1", ""}});
    map.Add("Integer", "Third", {{"Value", "0", ""}, {"pIsLocked", "Held", ""}}).Ready();
    NodeList_t nodes;
    map.Node("Held").GetParents(nodes);
    EXPECT_EQ(nodes, (NodeList_t{&map.Node("First"), &map.Node("Second"), &map.Node("Third")}));
    map.Node("Third").GetParents(nodes);
    EXPECT_TRUE(nodes.empty());
}

TEST(ReverseLinks, CountTheNodeOfAnOffset) {
    TestMap map;
    map.Add("Integer", "Index", {{"Value", "1", ""}}).Add("Integer", "Stride", {{"Value", "8", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIndex", "Index", "Stride"}}).Ready();
    NodeList_t nodes;
    map.Node("Stride").GetParents(nodes);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("R")});
}

TEST(ReverseLinks, AliasesMakeNoParents) {
    TestMap map;
    map.Add("Integer", "Held", {{"Value", "1", ""}});
    map.Add("Integer", "Other", {{"Value", "1", ""}, {"pAlias", "Held", ""}, {"pCastAlias", "Held", ""}}).Ready();
    NodeList_t nodes;
    map.Node("Held").GetParents(nodes);
    EXPECT_TRUE(nodes.empty());
}

TEST(ReverseLinks, NameAllSelectorsOfAFeature) {
    TestMap map;
    map.Add("Integer", "Gain", {{"Value", "1", ""}});
    map.Add("Integer", "Channel", {{"Value", "1", ""}, {"pSelected", "Gain", ""}, {"pSelected", "Channel", ""}});
    map.Add("Boolean", "Tap", {{"Value", "1", ""}, {"pSelected", "Gain", ""}}).Ready();
    FeatureList_t features;
    map.As<ISelector>("Gain").GetSelectingFeatures(features);
    EXPECT_EQ(features, (FeatureList_t{&map.Value("Channel"), &map.Value("Tap")}));
    map.As<ISelector>("Channel").GetSelectingFeatures(features);
    EXPECT_EQ(features, FeatureList_t{&map.Value("Channel")});
    map.As<ISelector>("Tap").GetSelectingFeatures(features);
    EXPECT_TRUE(features.empty());
}

TEST(ReverseLinks, MayBeWrittenDownAtTheSelectedEndToo) {
    TestMap map;
    map.Add("Integer", "Channel", {{"Value", "1", ""}, {"pSelected", "Both", ""}});
    map.Add("Integer", "Both", {{"Value", "1", ""}, {"pSelecting", "Channel", ""}});
    map.AddRegister("IntReg", "Gain", "0", {{"pSelecting", "Channel", ""}, {"pTerminal", "Both", ""}});
    map.Add("Boolean", "Tap", {{"Value", "1", ""}});
    map.AddRegister("IntReg", "Offset", "4", {{"pSelecting", "Tap", ""}}).Ready();
    FeatureList_t features;
    map.As<ISelector>("Gain").GetSelectingFeatures(features);
    EXPECT_EQ(features, FeatureList_t{&map.Value("Channel")});
    map.As<ISelector>("Both").GetSelectingFeatures(features);
    EXPECT_EQ(features, FeatureList_t{&map.Value("Channel")}) << "once, though both ends name the other";
    map.As<ISelector>("Channel").GetSelectedFeatures(features);
    EXPECT_EQ(features, (FeatureList_t{&map.Value("Both"), &map.Value("Gain")}));
    EXPECT_TRUE(map.As<ISelector>("Tap").IsSelector());
    EXPECT_FALSE(map.As<ISelector>("Gain").IsSelector());

    NodeList_t nodes;
    map.Node("Gain").GetChildren(nodes, ctTerminalNodes);
    EXPECT_EQ(nodes, (NodeList_t{&map.Node("Gain"), &map.Node("Both")}));

    map.Integer("Offset").GetValue();
    EXPECT_TRUE(map.Value("Offset").IsValueCacheValid());
    map.As<IBoolean>("Tap").SetValue(false);
    EXPECT_FALSE(map.Value("Offset").IsValueCacheValid()) << "a selector tells what it selects";
}
