// Values that are computed.
#include "genapi/support/TestMap.h"
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <string>

using namespace GenApi;
using genapi_test::Reg;
using genapi_test::TestMap;
using genapi_test::XmlMap;

TEST(FormulaNodes, ComputesFromItsVariables) {
    TestMap map;
    map.Add("Integer", "X", {{"Value", "4", ""}, {"Min", "1", ""}, {"Max", "9", ""}, {"Inc", "1", ""}});
    map.Add("IntSwissKnife", "I",
            {{"pVariable", "X", "X"},
             {"Constant", "10", "TEN"},
             {"Expression", "TEN + X", "XP2"},
             {"Formula", "TEN * XP2", ""}});
    map.Add("SwissKnife", "F", {{"pVariable", "X", "V.Max"}, {"Formula", "V.Max / 2", ""}});
    map.Add("IntSwissKnife", "Mode", {{"pVariable", "X", "V.AccessMode"}, {"Formula", "V.AccessMode", ""}}).Ready();
    EXPECT_EQ(map.Integer("I").GetValue(), 140);
    EXPECT_EQ(map.Float("F").GetValue(), 4.5);
    EXPECT_EQ(map.Integer("Mode").GetValue(), RW);
    map.Integer("X").SetValue(5);
    EXPECT_EQ(map.Integer("I").GetValue(), 150);
    EXPECT_EQ(map.Mode("I"), RO);
    EXPECT_THROW(map.Integer("I").SetValue(1), GenICam::AccessException);
    EXPECT_THROW(map.Integer("I").SetValue(1, /*Verify=*/false), GenICam::AccessException);
    EXPECT_EQ(map.Integer("I").GetMax(), INT64_MAX);
}

TEST(FormulaNodes, ReportsItsFaultWhenItIsUsed) {
    TestMap map;
    map.Add("IntSwissKnife", "Bad", {{"Formula", "1 +", ""}});
    map.Add("IntSwissKnife", "Unknown", {{"Formula", "NOBODY", ""}});
    map.Add("SwissKnife", "Zero", {{"Formula", "1/0", ""}}).Ready();
    EXPECT_THROW(map.Integer("Bad").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(map.Integer("Unknown").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(map.Float("Zero").GetValue(), GenICam::RuntimeException);
}

TEST(FormulaNodes, ThatIsFaultyIsNotOfferedForReading) {
    TestMap map;
    map.Add("IntSwissKnife", "I", {{"Formula", "1 +", ""}}).Add("SwissKnife", "F", {{"Formula", "NOBODY", ""}});
    map.Add("Integer", "Raw", {{"Value", "7", ""}}).Add("Integer", "User", {{"pValue", "I", ""}});
    map.Add("IntConverter", "From", {{"pValue", "Raw", ""}, {"FormulaFrom", "TO +", ""}, {"FormulaTo", "FROM", ""}});
    map.Add("IntConverter", "To", {{"pValue", "Raw", ""}, {"FormulaFrom", "TO", ""}, {"FormulaTo", "FROM +", ""}});
    map.Ready();
    for (const char* const name : {"I", "F", "User", "From"})
        EXPECT_EQ(map.Mode(name), NI) << name;
    EXPECT_THROW(map.Integer("I").GetValue(/*Verify=*/true), GenICam::RuntimeException);
    EXPECT_THROW(map.Integer("I").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(map.Float("F").GetValue(/*Verify=*/true), GenICam::RuntimeException);
    EXPECT_EQ(map.Mode("To"), RO) << "without the way down it can be read alone";
    EXPECT_EQ(map.Integer("To").GetValue(/*Verify=*/true), 7);
    EXPECT_THROW(map.Integer("To").SetValue(1), GenICam::RuntimeException);
}

TEST(FormulaNodes, IsNotAvailableWithoutItsVariables) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "WO", ""}});
    map.Add("IntSwissKnife", "I", {{"pVariable", "R", "R"}, {"Formula", "R", ""}});
    map.Add("IntSwissKnife", "Unused", {{"pVariable", "R", "R"}, {"Formula", "1", ""}}).Ready();
    EXPECT_EQ(map.Mode("I"), NA);
    EXPECT_EQ(map.Mode("Unused"), RO);
}

TEST(FormulaNodes, UponFormulaIsComputedOnceAlsoWhenCachesAreIgnored) {
    std::string nodes = Reg("K0", "0");
    for (int i = 1; i <= 40; ++i) {
        const std::string below = "K" + std::to_string(i - 1);
        nodes += "<IntSwissKnife Name='K" + std::to_string(i) + "'><pVariable Name='A'>" + below +
                 "</pVariable><pVariable Name='B'>" + below + "</pVariable><Formula>A + B</Formula></IntSwissKnife>";
    }
    XmlMap map(nodes);
    map.port.Put(0, {1, 0, 0, 0});
    EXPECT_EQ(map.Integer("K40").GetValue(), int64_t{1} << 40);
    map.port.Put(0, {2, 0, 0, 0});
    EXPECT_EQ(map.Integer("K40").GetValue(/*Verify=*/false, /*IgnoreCache=*/true), int64_t{1} << 41);
}

TEST(FormulaNodes, ReadsNoIncrementWhereThereIsNone) {
    const XmlMap map(
        Reg("R", "0") +
        "<Converter Name='C'><FormulaTo>FROM*4</FormulaTo><FormulaFrom>TO/4</FormulaFrom><pValue>R</pValue>"
        "</Converter><SwissKnife Name='K'><pVariable Name='C.Inc'>C</pVariable><Formula>C.Inc</Formula>"
        "</SwissKnife>");
    EXPECT_FALSE(map.Float("C").HasInc());
    EXPECT_EQ(map.Float("K").GetValue(), 0.0);
}

TEST(FormulaNodes, ReadsEntriesOfEnumerations) {
    TestMap map;
    map.Add("EnumEntry", "EnumEntry_E_On", {{"Value", "7", ""}, {"Symbolic", "On", ""}, {"NumericValue", "0.5", ""}});
    map.Add("Enumeration", "E", {{"pEnumEntry", "EnumEntry_E_On", ""}, {"Value", "7", ""}});
    map.Add("IntSwissKnife", "I", {{"pVariable", "E", "E.Entry.On"}, {"Formula", "E.Entry.On", ""}});
    map.Add("IntSwissKnife", "J", {{"pVariable", "E", "E"}, {"Formula", "E", ""}});
    map.Add("SwissKnife", "F", {{"pVariable", "E", "E"}, {"Formula", "E", ""}}).Ready();
    EXPECT_EQ(map.Integer("I").GetValue(), 7);
    EXPECT_EQ(map.Integer("J").GetValue(), 7);
    EXPECT_EQ(map.Float("F").GetValue(), 0.5);
}

TEST(Converter, ConvertsBothWays) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "100", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", "2.0 * TO", ""}, {"FormulaTo", "0.5 * FROM", ""}});
    map.Add("Integer", "Raw2", {{"Value", "50", ""}});
    map.Add("IntConverter", "I",
            {{"pValue", "Raw2", ""}, {"FormulaFrom", "0.1 * TO", ""}, {"FormulaTo", "10 * FROM", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetValue(), 200.0);
    map.Float("C").SetValue(100.0);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 50);
    EXPECT_EQ(map.Float("C").GetValue(), 100.0);
    EXPECT_EQ(map.Integer("I").GetValue(), 5);
    map.Integer("I").SetValue(100);
    EXPECT_EQ(map.Integer("Raw2").GetValue(), 1000);
    EXPECT_EQ(map.Integer("I").GetValue(), 100);
}

TEST(Converter, HasAStepWithoutWhatRoundingLeavesBehind) {
    const std::pair<const char*, double> cases[] = {
        {"TO * 0.1", 0.1}, {"3.3 - TO * 0.001", 0.001}, {"TO / 32", 0.03125}, {"TO * 1e-9", 1e-9}};
    for (const auto& [formula, step] : cases) {
        TestMap map;
        map.Add("Integer", "Raw", {{"Value", "100", ""}, {"Min", "100", ""}});
        map.Add(
            "Converter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", formula, ""}, {"FormulaTo", "FROM", ""}, {"IsLinear", "Yes", ""}});
        map.Ready();
        EXPECT_EQ(map.Float("C").GetInc(), step) << formula;
    }
}

TEST(Converter, OrdersItsLimitsWhateverTheSlope) {
    for (const char* const slope : {"Decreasing", "Automatic", "Increasing"}) {
        TestMap map;
        map.Add("Integer", "Raw", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "10", ""}});
        map.Add("Converter", "C",
                {{"pValue", "Raw", ""},
                 {"FormulaFrom", "100 - TO", ""},
                 {"FormulaTo", "100 - FROM", ""},
                 {"Slope", slope, ""}});
        map.Ready();
        EXPECT_EQ(map.Float("C").GetMin(), 90.0) << slope;
        EXPECT_EQ(map.Float("C").GetMax(), 100.0) << slope;
    }
}

TEST(Converter, HasNoLimitsWhereTheRawNodeHasNone) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "0", ""}});
    map.Add("Converter", "C", {{"pValue", "Raw", ""}, {"FormulaFrom", "TO * 2", ""}, {"FormulaTo", "FROM / 2", ""}});
    map.Add("Integer", "Ten", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "10", ""}});
    map.Add("Converter", "V",
            {{"pValue", "Ten", ""}, {"FormulaFrom", "TO", ""}, {"FormulaTo", "FROM", ""}, {"Slope", "Varying", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetMax(), DBL_MAX);
    EXPECT_EQ(map.Float("V").GetMin(), -DBL_MAX);
}

TEST(Converter, PlacesTheOneLimitThatIsKnownByItsSlope) {
    for (const char* const slope : {"Increasing", "Decreasing"}) {
        TestMap map;
        map.Add("Integer", "Raw", {{"Value", "5", ""}, {"Min", "5", ""}});
        map.Add("Converter", "C",
                {{"pValue", "Raw", ""}, {"FormulaFrom", "TO", ""}, {"FormulaTo", "FROM", ""}, {"Slope", slope, ""}});
        map.Ready();
        const bool isMin = *slope == 'I';
        const bool isMax = *slope == 'D';
        EXPECT_EQ(map.Float("C").GetMin(), isMin ? 5.0 : -DBL_MAX) << slope;
        EXPECT_EQ(map.Float("C").GetMax(), isMax ? 5.0 : DBL_MAX) << slope;
    }
}

TEST(Converter, SeesWhereTheOneLimitThatIsKnownBelongs) {
    struct Row {
        const char* from;
        const char* rawEnd; // 5 is its limit
        double min;
        double max;
    };
    for (const Row& row : {Row{"TO * 2", "Min", 10.0, DBL_MAX}, Row{"100 - TO", "Min", -DBL_MAX, 95.0},
                           Row{"TO * 2", "Max", -DBL_MAX, 10.0}, Row{"100 - TO", "Max", 95.0, DBL_MAX},
                           Row{"TRUNC(TO / 100)", "Min", 0.0, DBL_MAX}, Row{"7", "Min", -DBL_MAX, DBL_MAX},
                           Row{"TO = 5 ? 1 : 1 / 0", "Min", -DBL_MAX, DBL_MAX}}) {
        TestMap map;
        map.Add("Integer", "Raw", {{"Value", "5", ""}, {row.rawEnd, "5", ""}});
        map.Add("Converter", "C", {{"pValue", "Raw", ""}, {"FormulaFrom", row.from, ""}, {"FormulaTo", "FROM", ""}});
        map.Ready();
        EXPECT_EQ(map.Float("C").GetMin(), row.min) << row.from << " from " << row.rawEnd;
        EXPECT_EQ(map.Float("C").GetMax(), row.max) << row.from << " from " << row.rawEnd;
    }
}

TEST(Converter, PassesOnTheFaultOfALimit) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "1", ""}, {"Min", "0", ""}, {"Max", "10", ""}});
    map.Add("Converter", "C", {{"pValue", "Raw", ""}, {"FormulaFrom", "10 / TO", ""}, {"FormulaTo", "10 / FROM", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetValue(), 10.0);
    EXPECT_THROW(map.Float("C").GetMin(), GenICam::RuntimeException);
    EXPECT_THROW(map.Float("C").SetValue(5.0), GenICam::RuntimeException);
    EXPECT_NO_THROW(map.Float("C").SetValue(5.0, /*Verify=*/false));
    EXPECT_EQ(map.Integer("Raw").GetValue(), 2);
}

TEST(Converter, AcceptsItsOwnLimits) {
    TestMap map;
    map.AddRegister("IntReg", "Raw", "0", {{"Length", "1", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", "TO * 0.1", ""}, {"FormulaTo", "FROM / 0.1000001", ""}});
    map.Ready();
    EXPECT_NO_THROW(map.Float("C").SetValue(map.Float("C").GetMax()));
    EXPECT_EQ(map.Integer("Raw").GetValue(), 255);
    EXPECT_THROW(map.Float("C").SetValue(25.6), GenICam::OutOfRangeException);
}

TEST(Converter, UponConverterIsComputedOnce) {
    std::string nodes = Reg("C0", "0");
    for (int i = 1; i <= 40; ++i) {
        const std::string below = "C" + std::to_string(i - 1);
        const std::string kind = i % 2 ? "IntConverter" : "Converter";
        nodes += "<" + kind + " Name='C" + std::to_string(i) + "'><pVariable Name='OLD'>" + below +
                 "</pVariable><FormulaTo>FROM + 0 * OLD</FormulaTo><FormulaFrom>TO + 0 * OLD</FormulaFrom><pValue>" +
                 below + "</pValue></" + kind + ">";
    }
    XmlMap map(nodes);
    map.Float("C40").SetValue(7);
    EXPECT_EQ(map.Float("C40").GetValue(/*Verify=*/true, /*IgnoreCache=*/true), 7);
    EXPECT_EQ(map.Float("C40").GetMax(), 4294967295.0);
    EXPECT_EQ(map.Text("C40"), "7");
}

TEST(Converter, TellsTheIncrementWhenItIsLinear) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "10", ""}, {"Inc", "2", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""},
             {"FormulaFrom", "TO * 0.5", ""},
             {"FormulaTo", "FROM * 2", ""},
             {"IsLinear", "Yes", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetInc(), 1.0);
}

TEST(FormulaNodes, HaveLimitsWithoutTheirVariables) {
    TestMap map;
    map.Add("IntSwissKnife", "K", {{"pVariable", "L", "X"}, {"Formula", "X", ""}});
    map.Add("IntSwissKnife", "L", {{"pVariable", "K", "Y.Max"}, {"Formula", "Y.Max", ""}}).Ready();
    EXPECT_EQ(map.Integer("K").GetMax(), INT64_MAX);
    EXPECT_EQ(map.Integer("K").GetValue(), INT64_MAX);
    EXPECT_EQ(map.Mode("K"), RO);
}

TEST(Converter, TakesItsStepFromWithinItsLimits) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "10", ""}});
    map.Add("Converter", "C",
            {{"pValue", "Raw", ""},
             {"FormulaFrom", "(TO < 0) ? 0 : (TO * 0.5)", ""},
             {"FormulaTo", "FROM * 2", ""},
             {"IsLinear", "Yes", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("C").GetInc(), 0.5);
}

TEST(IntConverter, FindsItsOnlyLimitThoughTheFormulaRisesSlowly) {
    TestMap map;
    map.Add("Integer", "Raw", {{"Value", "0", ""}, {"Min", "0", ""}});
    map.Add("IntConverter", "C",
            {{"pValue", "Raw", ""}, {"FormulaFrom", "TO / 1048576", ""}, {"FormulaTo", "FROM * 1048576", ""}});
    map.Ready();
    EXPECT_EQ(map.Integer("C").GetMin(), 0);
    EXPECT_EQ(map.Integer("C").GetMax(), INT64_MAX);
}
