// Numbers at the edges of what their nodes can hold.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <cfloat>

using namespace GenApi;
using genapi_test::TestMap;

TEST(NumberEdges, AddressesBeginAtZero) {
    TestMap map;
    map.Add("Integer", "Ip", {{"Value", "0", ""}, {"Representation", "IPV4Address", ""}});
    map.Add("Integer", "Mac", {{"Value", "0", ""}, {"Representation", "MACAddress", ""}}).Ready();
    EXPECT_EQ(map.Integer("Ip").GetMin(), 0);
    EXPECT_EQ(map.Integer("Mac").GetMin(), 0);
}

TEST(NumberEdges, SinglesTakeTheirLargestNumberForALargerOne) {
    TestMap map;
    map.AddRegister("FloatReg", "F", "0").Ready();
    map.Float("F").SetValue(1e300, /*Verify=*/false);
    EXPECT_EQ(map.Float("F").GetValue(), FLT_MAX);
    map.Float("F").SetValue(-1e300, /*Verify=*/false);
    EXPECT_EQ(map.Float("F").GetValue(), -FLT_MAX);
}

TEST(NumberEdges, AConverterOfAFloatWithoutLimitsHasNone) {
    TestMap map;
    map.Add("Float", "Raw", {{"Value", "0", ""}});
    map.Add("Converter", "C", {{"pValue", "Raw", ""}, {"FormulaFrom", "TO * 0.5", ""}, {"FormulaTo", "FROM * 2", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetMax(), DBL_MAX);
    EXPECT_EQ(map.Float("C").GetMin(), -DBL_MAX);
}

TEST(NumberEdges, AConverterOfANumberWithoutMinimumHasNoStep) {
    TestMap map;
    map.Add("Float", "Raw", {{"Value", "0", ""}, {"Inc", "1", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", "TO", ""}, {"FormulaTo", "FROM", ""}, {"IsLinear", "Yes", ""}});
    map.Ready();
    EXPECT_FALSE(map.Float("C").HasInc());
}

TEST(NumberEdges, AConverterForgivesLessThanAUnit) {
    TestMap map;
    map.Add("Float", "Raw", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "10", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", "TO", ""}, {"FormulaTo", "FROM", ""}, {"Slope", "Varying", ""}});
    map.Ready();
    map.Float("C").SetValue(10.75);
    EXPECT_EQ(map.Float("Raw").GetValue(), 10.0);
    EXPECT_THROW(map.Float("C").SetValue(11.0), GenICam::OutOfRangeException);
    map.Float("C").SetValue(-0.75);
    EXPECT_EQ(map.Float("Raw").GetValue(), 0.0);
    EXPECT_THROW(map.Float("C").SetValue(-1.0), GenICam::OutOfRangeException);
}

TEST(NumberEdges, WholeNumbersStayExactWhenTheyAreRounded) {
    TestMap map;
    map.Add("IntSwissKnife", "K", {{"Formula", "ROUND(9007199254740993, 0)", ""}}).Ready();
    EXPECT_EQ(map.Integer("K").GetValue(), 9007199254740993);
}

TEST(NumberEdges, VariablesBearAnyLetter) {
    TestMap map;
    map.Add("Integer", "One", {{"Value", "1", ""}});
    map.Add("IntSwissKnife", "K",
            {{"pVariable", "One", "z"},
             {"pVariable", "One", "Z"},
             {"pVariable", "One", "Aa9"},
             {"Formula", "z + Z + Aa9", ""}});
    map.Ready();
    EXPECT_EQ(map.Integer("K").GetValue(), 3);
}
