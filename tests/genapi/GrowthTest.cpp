// What is large costs as much as it is long. Each of these took minutes, or would have, when its cost grew with the
// square; nothing here measures time, the test runner's time limit is enough.

#include "genapi/lint/LintTesting.h"
#include "genapi/support/XmlMap.h"

#include <GenApi/Why.h>

#include <gtest/gtest.h>

#include <functional>

namespace genapi_test {
namespace {

using genapi::testkit::Frame;
using genapi::testkit::LintText;

std::string Series(int count, const std::function<std::string(const std::string&, const std::string&)>& make) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += make(std::to_string(i), std::to_string(i + 1));
    return text;
}

std::string Linked(const std::string& name, const std::string& target) {
    return "<Integer Name='" + name + "'><pValue>" + target + "</pValue></Integer>";
}

bool Finds(const std::string& nodes, const std::string& rule) {
    return genapi::testkit::FindFinding(genapi::LintDescription(LintText(nodes)), rule) != nullptr;
}

TEST(Growth, OfLintWithALongChainIsLinear) {
    constexpr int kLength = 100'000;
    const std::string chain = Series(kLength, [](auto& n, auto& next) { return Linked("N" + n, "N" + next); });
    EXPECT_FALSE(Finds(Frame("N0") + chain + Held("N" + std::to_string(kLength), "1"), "value-cycle"));
    EXPECT_TRUE(Finds(Frame("N0") + chain + Linked("N" + std::to_string(kLength), "N0"), "value-cycle"));
}

TEST(Growth, OfLintWithManyFaultsOfOneNodeIsLinear) {
    const std::string bad = Series(100'000, [](auto&, auto&) { return "<pInvalidator>Nobody</pInvalidator>"; });
    EXPECT_TRUE(Finds(Frame("A") + "<Integer Name='A'><Value>1</Value>" + bad + "</Integer>", "loose-link"));
}

TEST(Growth, OfLintWithManyMisspeltNamesIsLinear) {
    const std::string links = Series(50'000, [](auto& n, auto&) { return Linked("Node" + n, "Nobody" + n); });
    EXPECT_TRUE(Finds(Frame("Node1") + links, "dangling-link"));
}

TEST(Growth, OfLintWithManySelectorsIsLinear) {
    const std::string selectors = Series(20'000, [](auto& n, auto& next) {
        return "<Integer Name='N" + n + "'><pValue>N" + next + "</pValue><pSelected>N" + next +
               "</pSelected></Integer>";
    });
    EXPECT_FALSE(Finds(Frame("N0") + selectors + Held("N20000", "1"), "value-cycle"));
}

TEST(Growth, OfLintWithManyRegistersOnOneAddressIsLinear) {
    const std::string registers = Series(20'000, [](auto& n, auto&) { return Reg("R" + n, "0"); });
    EXPECT_TRUE(Finds(Frame("R0") + registers, "shared-bits"));
}

TEST(Growth, OfAFormulaWithItsVariablesIsLinear) {
    constexpr int kCount = 60'000;
    const std::string variables =
        Series(kCount, [](auto& n, auto&) { return "<pVariable Name='V" + n + "'>A" + n + "</pVariable>"; });
    const std::string nodes = Series(kCount, [](auto& n, auto&) { return Held("A" + n, n == "5000" ? "2" : "1"); });
    std::string sum = "V0";
    for (int i = 1; i < kCount; ++i)
        sum += "+V" + std::to_string(i);
    const std::string knife = "<Formula>" + sum + "</Formula></IntSwissKnife>";
    const std::string hidden = "<Integer Name='W'><ImposedAccessMode>WO</ImposedAccessMode><Value>1</Value></Integer>";
    XmlMap map("<IntSwissKnife Name='K'>" + variables + knife + nodes + "<IntSwissKnife Name='L'>" + variables +
               "<pVariable Name='V'>W</pVariable><Formula>V" + sum.substr(2) + "</Formula></IntSwissKnife>" + hidden);
    EXPECT_EQ(map.Integer("K").GetValue(), kCount + 1);
    EXPECT_THROW(map.Integer("K").SetValue(1), GenICam::AccessException);
    EXPECT_EQ(GenApi::ExplainAccess(&map.Node("L")), "'L' is NA: it needs 'W': restricted to WO");
}

TEST(Growth, OfLinksOfOneNodeIsLinear) {
    constexpr int kCount = 100'000;
    const std::string nodes = Series(kCount, [](auto& n, auto&) { return Held("A" + n, "1"); });
    const std::string links = Series(kCount, [](auto& n, auto&) {
        return "<pInvalidator>A" + n + "</pInvalidator><pSelected>A" + n + "</pSelected>";
    });
    const std::string features = Series(kCount, [](auto& n, auto&) { return "<pFeature>A" + n + "</pFeature>"; });
    XmlMap map("<Integer Name='A'><Value>1</Value>" + links + "</Integer><Category Name='Root'>" + features +
               "</Category>" + nodes);
    GenICam::gcstring value;
    GenICam::gcstring attribute;
    EXPECT_TRUE(map.Node("A").GetProperty("pInvalidator", value, attribute));
    EXPECT_EQ(value.str().substr(0, 9), "A0\tA1\tA2\t");
    EXPECT_EQ(attribute.size(), kCount - 1U);
    GenApi::NodeList_t children;
    map.Node("Root").GetChildren(children);
    EXPECT_EQ(children.size(), std::size_t{kCount});
    GenApi::FeatureList_t selected;
    map.As<GenApi::ISelector>("A").GetSelectedFeatures(selected);
    EXPECT_EQ(selected.size(), std::size_t{kCount});
}

TEST(Growth, OfAChangeOfManyRegistersIsLinear) {
    const std::string copies =
        Series(50'000, [](auto&, auto& next) { return "<pValueCopy>R" + next + "</pValueCopy>"; });
    const std::string registers = Series(50'001, [](auto& n, auto&) {
        return Reg("R" + n, std::to_string(4 * std::stoi(n)), "<pInvalidator>A</pInvalidator>");
    });
    XmlMap map("<Integer Name='A'><pValue>R0</pValue>" + copies + "</Integer>" + registers);
    map.Integer("A").SetValue(7);
    EXPECT_EQ(map.port.writes, 50'001);
}

TEST(Growth, OfAskingAllNodesOfACircleIsLinear) {
    constexpr int kLength = 5'000;
    const std::string circle = Series(kLength, [](auto& n, auto& next) { return Linked("N" + n, "N" + next); });
    XmlMap map(circle + Linked("N" + std::to_string(kLength), "N0"));
    GenApi::NodeList_t nodes;
    map.Map().GetNodes(nodes);
    for (GenApi::INode* const pNode : nodes) {
        auto* const pInteger = dynamic_cast<GenApi::IInteger*>(pNode);
        if (!pInteger) continue;
        ASSERT_EQ(pNode->GetAccessMode(), GenApi::NI);
        ASSERT_THROW(pInteger->GetValue(), GenICam::RuntimeException);
    }
}

} // namespace
} // namespace genapi_test
