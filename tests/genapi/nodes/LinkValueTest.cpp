// Values that cross a link to a node of another kind, and formulas that ask for them.
#include "genapi/support/XmlMap.h"

#include <gmock/gmock.h>

#include <cfloat>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::Reg;
using genapi_test::XmlMap;

namespace {

std::string Upon(const std::string& kind, const std::string& name, const std::string& target) {
    return "<" + kind + " Name='" + name + "'><pValue>" + target + "</pValue></" + kind + ">";
}

// A formula of one variable, or of more that `before` declares.
std::string Computed(const std::string& kind, const std::string& name, const std::string& variable,
                     const std::string& node, const std::string& text, const std::string& before = {}) {
    return "<" + kind + " Name='" + name + "'>" + before + "<pVariable Name='" + variable + "'>" + node +
           "</pVariable><Formula>" + text + "</Formula></" + kind + ">";
}

const std::string kTwoEntries = "<Enumeration Name='E'><EnumEntry Name='Low'><Value>3</Value><NumericValue>0.5"
                                "</NumericValue></EnumEntry><EnumEntry Name='High'><Value>7</Value></EnumEntry>"
                                "<Value>3</Value></Enumeration>";

} // namespace

TEST(LinkValue, OfABoolean) {
    XmlMap map("<Boolean Name='B'><Value>1</Value></Boolean>" + Upon("Integer", "I", "B") + Upon("Float", "F", "B"));
    EXPECT_EQ(map.Integer("I").GetValue(), 1);
    EXPECT_EQ(map.Float("F").GetValue(), 1.0);
    EXPECT_EQ(map.Integer("I").GetMin(), 0);
    EXPECT_EQ(map.Integer("I").GetMax(), 1);
    EXPECT_EQ(map.Integer("I").GetInc(), 1);
    map.Integer("I").SetValue(0);
    EXPECT_FALSE(map.As<IBoolean>("B").GetValue());
    map.Float("F").SetValue(0.25);
    EXPECT_TRUE(map.As<IBoolean>("B").GetValue()) << "whatever is not zero";
    map.Integer("I").SetValue(7, /*Verify=*/false);
    EXPECT_EQ(map.Integer("I").GetValue(), 1);
}

TEST(LinkValue, OfAnEnumeration) {
    XmlMap map(kTwoEntries + Upon("Integer", "I", "E") + Upon("Float", "F", "E") + Upon("Boolean", "B", "E"));
    EXPECT_EQ(map.Integer("I").GetValue(), 3);
    EXPECT_EQ(map.Float("F").GetValue(), 0.5);
    EXPECT_FALSE(map.As<IBoolean>("B").GetValue());
    map.Integer("I").SetValue(7);
    EXPECT_EQ(map.Text("E"), "High");
    EXPECT_EQ(map.Float("F").GetValue(), 7.0) << "without a number of its own the value counts";
    EXPECT_THROW(map.Integer("I").SetValue(4), GenICam::InvalidArgumentException);
    map.Float("F").SetValue(2.0);
    EXPECT_EQ(map.Text("E"), "Low") << "the nearest one";
}

TEST(LinkValue, IsRoundedOnTheWayFromAFloatToAnInteger) {
    XmlMap map(Held("I", "0") + Upon("Float", "F", "I") +
               "<Converter Name='C'><FormulaTo>FROM * 10</FormulaTo><FormulaFrom>TO / 10</FormulaFrom><pValue>I"
               "</pValue></Converter><Boolean Name='B'><pValue>F</pValue><OnValue>3</OnValue></Boolean>");
    for (const auto& [written, stored] :
         {std::pair(2.5, 3), std::pair(-2.5, -3), std::pair(2.4, 2), std::pair(2.9999999999999996, 3)}) {
        map.Float("F").SetValue(written);
        EXPECT_EQ(map.Integer("I").GetValue(), stored) << written;
    }
    EXPECT_TRUE(map.As<IBoolean>("B").GetValue());
    map.Float("C").SetValue(0.29);
    EXPECT_EQ(map.Integer("I").GetValue(), 3);
}

TEST(LinkValue, IsCheckedOnEveryLevelInItsOwnKind) {
    XmlMap map("<Integer Name='I'><Value>0</Value><Max>9</Max></Integer><Float Name='F'><pValue>I</pValue>"
               "<Max>100</Max></Float>");
    EXPECT_THROW(map.Float("F").SetValue(50), GenICam::OutOfRangeException);
    map.Float("F").SetValue(50, /*Verify=*/false);
    EXPECT_EQ(map.Integer("I").GetValue(), 50);
    EXPECT_THROW(map.Float("F").GetValue(/*Verify=*/true), GenICam::OutOfRangeException);
}

TEST(FormulaVariable, AsksForWhatItsSuffixSays) {
    XmlMap map("<Float Name='F'><Visibility>Guru</Visibility><Value>2</Value><Min>0.5</Min><Max>4.5</Max>"
               "<Inc>0.25</Inc></Float>" +
               Reg("R", "0", "<Cachable>WriteAround</Cachable>") + kTwoEntries +
               Computed("SwissKnife", "Limits", "X.Max", "F", "X.Max - X.Min + X.Inc",
                        "<pVariable Name='X.Min'>F</pVariable><pVariable Name='X.Inc'>F</pVariable>") +
               Computed("IntSwissKnife", "Visible", "X.Visibility", "F", "X.Visibility") +
               Computed("IntSwissKnife", "Cached", "X.CachingMode", "R", "X.CachingMode") +
               Computed("IntSwissKnife", "Plain", "X.Value", "E", "X.Value") +
               Computed("IntSwissKnife", "Entry", "X.Enum.High", "E", "X.Enum.High") +
               Computed("IntSwissKnife", "NoEntry", "X.Entry.Top", "E", "X.Entry.Top") +
               Computed("IntSwissKnife", "Unknown", "X.Colour", "E", "X.Colour") +
               Computed("IntSwissKnife", "Unused", "X.Colour", "E", "5"));
    EXPECT_EQ(map.Float("Limits").GetValue(), 4.25);
    EXPECT_EQ(map.Integer("Visible").GetValue(), Guru);
    EXPECT_EQ(map.Integer("Cached").GetValue(), WriteAround);
    EXPECT_EQ(map.Integer("Plain").GetValue(), 3);
    EXPECT_EQ(map.Integer("Entry").GetValue(), 7);
    EXPECT_THROW(map.Integer("NoEntry").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(map.Integer("Unknown").GetValue(), GenICam::RuntimeException);
    EXPECT_EQ(map.Integer("Unused").GetValue(), 5);
}

TEST(FormulaVariable, ComesInItsOwnKind) {
    XmlMap map("<Float Name='F'><Value>2.5</Value></Float><Boolean Name='B'><Value>1</Value></Boolean>" + kTwoEntries +
               Computed("IntSwissKnife", "Real", "X", "F", "X * 2") +
               Computed("IntSwissKnife", "Cut", "X", "F", "X * 3") +
               Computed("IntSwissKnife", "Truth", "X", "B", "X ? 10 : 20") +
               Computed("SwissKnife", "Numeric", "X", "E", "X") + Computed("IntSwissKnife", "Whole", "X", "E", "X") +
               Computed("SwissKnife", "Twice", "A", "F", "A * B", "<pVariable Name='B'>F</pVariable>"));
    EXPECT_EQ(map.Integer("Real").GetValue(), 5);
    EXPECT_EQ(map.Integer("Cut").GetValue(), 7) << "towards zero, at the end";
    EXPECT_EQ(map.Integer("Truth").GetValue(), 10);
    EXPECT_EQ(map.Float("Numeric").GetValue(), 0.5);
    EXPECT_EQ(map.Integer("Whole").GetValue(), 3);
    EXPECT_EQ(map.Float("Twice").GetValue(), 6.25);
}

TEST(FormulaVariable, IsReadOnlyWhenItIsMentionedAndPastTheCacheWhenThatIsWanted) {
    XmlMap map(Reg("A", "0") + Reg("B", "4") +
               Computed("IntSwissKnife", "N", "A", "A", "A", "<pVariable Name='B'>B</pVariable>"));
    map.Integer("N").GetValue();
    EXPECT_EQ(map.port.reads, 1);
    map.Integer("N").GetValue();
    EXPECT_EQ(map.port.reads, 1);
    map.port.Put(0, {9});
    EXPECT_EQ(map.Integer("N").GetValue(false, /*IgnoreCache=*/true), 9);
    EXPECT_EQ(map.port.reads, 2);
}

TEST(FormulaVariable, ThatCannotBeReadTakesAConverterAway) {
    XmlMap map(Held("Raw", "4") + "<IntReg Name='W'><Address>0</Address><Length>4</Length><AccessMode>WO</AccessMode>"
                                  "<pPort>Device</pPort></IntReg>"
                                  "<IntConverter Name='C'><pVariable Name='W'>W</pVariable><FormulaTo>FROM</FormulaTo>"
                                  "<FormulaFrom>TO + W</FormulaFrom><pValue>Raw</pValue></IntConverter>"
                                  "<IntConverter Name='D'><pVariable Name='W'>W</pVariable><FormulaTo>FROM</FormulaTo>"
                                  "<FormulaFrom>TO + 1</FormulaFrom><pValue>Raw</pValue></IntConverter>");
    EXPECT_EQ(map.Mode("C"), NA);
    EXPECT_EQ(map.Mode("D"), RW);
    EXPECT_EQ(map.Integer("D").GetInc(), 1);
    EXPECT_EQ(map.Integer("D").GetMax(), INT64_MAX);
}

TEST(FormulaVariable, ConstantsAreOfTheKindOfTheFormula) {
    const std::string half = "<Constant Name='C'>7</Constant><Formula>C / 2</Formula>";
    XmlMap map("<IntSwissKnife Name='I'>" + half + "</IntSwissKnife><SwissKnife Name='F'>" + half + "</SwissKnife>");
    EXPECT_EQ(map.Integer("I").GetValue(), 3);
    EXPECT_EQ(map.Float("F").GetValue(), 3.5);
    EXPECT_EQ(map.Float("F").GetMax(), DBL_MAX);
    EXPECT_FALSE(map.Float("F").HasInc());
    EXPECT_THROW(map.Float("F").SetValue(1, /*Verify=*/false), GenICam::AccessException);
}

TEST(Link, PassesTheFaultOfThePortUnchangedThroughAllNodes) {
    XmlMap map(
        Reg("R", "0", "<Cachable>NoCache</Cachable>") +
        "<IntConverter Name='C'><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>R</pValue>"
        "</IntConverter>" +
        Upon("Integer", "I", "C") + Upon("Float", "F", "I") + Computed("SwissKnife", "K", "X", "F", "X + 1") +
        "<Enumeration Name='E'><EnumEntry Name='A'><Value>0</Value></EnumEntry><pValue>I</pValue></Enumeration>" +
        Upon("Boolean", "B", "E"));
    map.port.failure = "cable";
    for (const char* const name : {"R", "C", "I", "F", "K", "E", "B"}) {
        try {
            map.Text(name);
            ADD_FAILURE() << name << " has a value";
        } catch (const GenICam::RuntimeException& exception) {
            EXPECT_STREQ(exception.GetDescription(), "cable") << name;
            EXPECT_STREQ(exception.GetSourceFileName(), "MemoryPort") << name;
        }
    }
}

TEST(Link, HandsTheStepOfAFloatToAnInteger) {
    XmlMap map("<Float Name='Even'><Value>4</Value><Inc>2</Inc></Float>"
               "<Float Name='Half'><Value>4</Value><Inc>0.5</Inc></Float>" +
               Upon("Integer", "I", "Even") + Upon("Integer", "J", "Half"));
    EXPECT_EQ(map.Integer("I").GetInc(), 2);
    EXPECT_EQ(map.Integer("J").GetInc(), 1) << "every whole number lies on the grid, or next to it";
}

TEST(Link, InvalidatesWhatDependsByEveryRoad) {
    const std::string roads[] = {
        "<Integer Name='N'><Value>0</Value><pMin>A</pMin></Integer>",
        "<Integer Name='N'><Value>0</Value><pInc>A</pInc></Integer>",
        "<Integer Name='N'><pIndex>A</pIndex><ValueDefault>0</ValueDefault></Integer>",
        "<Integer Name='N'><pIndex>Z</pIndex><pValueIndexed Index='1'>A</pValueIndexed><ValueDefault>0</ValueDefault>"
        "</Integer>",
        "<Integer Name='N'><pIndex>Z</pIndex><ValueIndexed Index='1'>0</ValueIndexed><pValueDefault>A</pValueDefault>"
        "</Integer>",
        "<Integer Name='N'><Value>0</Value><pIsImplemented>A</pIsImplemented></Integer>",
        "<Integer Name='N'><Value>0</Value><pIsAvailable>A</pIsAvailable></Integer>",
        "<Integer Name='N'><Value>0</Value><pIsLocked>A</pIsLocked></Integer>",
        "<Command Name='N'><Value>0</Value><pCommandValue>A</pCommandValue></Command>",
        "<IntReg Name='N'><pAddress>A</pAddress><Length>4</Length><pPort>Device</pPort></IntReg>",
        "<IntReg Name='N'><Address>0</Address><pLength>A</pLength><pPort>Device</pPort></IntReg>",
        "<IntReg Name='N'><IntSwissKnife Name='K'><pVariable Name='A'>A</pVariable><Formula>A</Formula></IntSwissKnife>"
        "<Length>4</Length><pPort>Device</pPort></IntReg>",
        "<Port Name='N'><pInvalidator>A</pInvalidator></Port>",
        "<Enumeration Name='N'><EnumEntry Name='X'><pIsAvailable>A</pIsAvailable><Value>0</Value></EnumEntry>"
        "<Value>0</Value></Enumeration>",
    };
    for (const std::string& road : roads) {
        XmlMap map(Held("A", "1") + Held("Z", "0") + road);
        int calls = 0;
        Register(&map.Node("N"), [&calls](INode*) { ++calls; });
        map.Integer("A").SetValue(4);
        EXPECT_EQ(calls, 1) << road;
    }
    for (const char* const link : {"pFeature", "pAlias", "pCastAlias", "pBlockPolling"}) {
        const std::string kind = std::string(link) == "pFeature" ? "Category" : "Node";
        XmlMap map(Held("A", "1") + "<" + kind + " Name='N'><" + link + ">A</" + link + "></" + kind + ">");
        int calls = 0;
        Register(&map.Node("N"), [&calls](INode*) { ++calls; });
        map.Integer("A").SetValue(4);
        EXPECT_EQ(calls, 0) << link;
        map.Node("N").InvalidateNode();
        EXPECT_EQ(calls, 1) << link;
    }
}
