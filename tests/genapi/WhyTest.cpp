// Explanations of access modes.
#include "genapi/support/TestMap.h"

#include <GenApi/Why.h>

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::TestMap;

TEST(Why, SaysNothingOfAFeatureWithFullAccess) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "");
    EXPECT_EQ(ExplainAccess(nullptr), "there is no node");
}

TEST(Why, NamesThePredicate) {
    TestMap map;
    map.Add("Integer", "Lock", {{"Value", "1", ""}}).Add("Integer", "Zero", {{"Value", "0", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIsLocked", "Lock", ""}});
    map.Add("Integer", "I", {{"pValue", "R", ""}});
    map.Add("Integer", "Hidden", {{"pValue", "R", ""}, {"pIsImplemented", "Zero", ""}});
    map.Add("Integer", "Greyed", {{"pValue", "R", ""}, {"pIsAvailable", "Zero", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is RO: its value is that of 'R': locked because 'Lock' is 1");
    EXPECT_EQ(ExplainAccess(&map.Node("Hidden")), "'Hidden' is NI: not implemented because 'Zero' is 0");
    EXPECT_EQ(ExplainAccess(&map.Node("Greyed")), "'Greyed' is NA: not available because 'Zero' is 0");
}

TEST(Why, WalksOnFromThePredicateToWhatAPersonCanSet) {
    TestMap map;
    map.Add("Category", "Root", {{"pFeature", "Auto", ""}, {"pFeature", "Mode", ""}, {"pFeature", "I", ""}});
    map.Add("Integer", "Auto", {{"Value", "2", ""}});
    map.Add("Integer", "Base", {{"Value", "1", ""}});
    map.Add("Integer", "Mode", {{"pValue", "Base", ""}});
    map.Add("IntSwissKnife", "Inner", {{"pVariable", "Auto", "A"}, {"Formula", "A = 2", ""}});
    map.Add("IntSwissKnife", "Outer", {{"pVariable", "Inner", "B"}, {"pVariable", "Base", "C"}, {"Formula", "B", ""}});
    map.Add("Integer", "I", {{"Value", "0", ""}, {"pIsLocked", "Outer", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is RO: locked because 'Outer' is 1 ('Auto' is 2, 'Mode' is 1)");
}

TEST(Why, GoesDownToThePort) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "RO", ""}});
    map.Add("Integer", "I", {{"pValue", "R", ""}, {"ImposedAccessMode", "RO", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is RO: its value is that of 'R': the register is RO");
    map.port.mode = NA;
    EXPECT_EQ(ExplainAccess(&map.Node("R")),
              "'R' is NA: it lies behind the port 'Device': what is connected to the port is NA");
    map.Connect(nullptr);
    EXPECT_EQ(ExplainAccess(&map.Node("R")),
              "'R' is NI: it lies behind the port 'Device': nothing is connected to the port");
}

TEST(Why, FollowsWhatAMultiplexerSelects) {
    TestMap map;
    map.Add("Integer", "Index", {{"Value", "1", ""}});
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "RO", ""}});
    map.Add("Integer", "I", {{"pIndex", "Index", ""}, {"pValueIndexed", "R", "1"}, {"ValueDefault", "0", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is RO: its value is at present that of 'R': the register is RO");
}

TEST(Why, NamesWhatIsImposedComputedOrUnreadable) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"ImposedAccessMode", "RO", ""}});
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "WO", ""}});
    map.Add("IntSwissKnife", "F", {{"pVariable", "I", "I"}, {"Formula", "I", ""}});
    map.Add("IntSwissKnife", "G", {{"pVariable", "R", "R"}, {"Formula", "R", ""}}).Ready();
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is RO: restricted to RO");
    EXPECT_EQ(ExplainAccess(&map.Node("F")), "'F' is RO: it is computed by a formula");
    EXPECT_EQ(ExplainAccess(&map.Node("G")), "'G' is NA: it needs 'R': the register is WO");
}

TEST(Why, TellsOfFaultyFormulasAndOfWhatIsMissing) {
    TestMap map;
    map.Add("Integer", "Zero", {{"Value", "0", ""}});
    map.Add("IntSwissKnife", "F", {{"Formula", "1 +", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIsImplemented", "Zero", ""}});
    map.AddRegister("IntReg", "Grey", "4", {{"pIsAvailable", "Zero", ""}});
    map.Add("Integer", "I", {{"pValue", "Grey", ""}, {"pIsImplemented", "Zero", ""}}).Ready();
    const GenICam::gcstring why = ExplainAccess(&map.Node("F"));
    EXPECT_EQ(why.str().rfind("'F' is NI: its formula is faulty: ", 0), 0u) << why;
    EXPECT_EQ(ExplainAccess(&map.Node("R")), "'R' is NI: not implemented because 'Zero' is 0");
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' is NI: not implemented because 'Zero' is 0");
    map.port.mode = NA;
    EXPECT_EQ(ExplainAccess(&map.Node("R")),
              "'R' is NA: it lies behind the port 'Device': what is connected to the port is NA");
}

TEST(Why, TellsAFaultOfTheDevice) {
    TestMap map;
    map.AddRegister("IntReg", "Lock", "8", {{"Cachable", "NoCache", ""}});
    map.Add("Integer", "I", {{"Value", "0", ""}, {"pIsLocked", "Lock", ""}}).Ready();
    map.port.failure = "cable";
    EXPECT_EQ(ExplainAccess(&map.Node("I")), "'I' cannot be asked: cable");
}

TEST(IsForReadingOnly, IsSoByRegisterFormulaOrDescriptionAndNotByWhatIsSet) {
    TestMap map;
    map.AddRegister("IntReg", "ReadOnly", "0", {{"AccessMode", "RO", ""}});
    map.AddRegister("IntReg", "Plain", "4", {{"AccessMode", "RW", ""}});
    map.AddRegister("IntReg", "WriteOnly", "8", {{"AccessMode", "WO", ""}});
    map.Add("Integer", "Lock", {{"Value", "1", ""}});
    map.Add("Integer", "OfRegister", {{"pValue", "ReadOnly", ""}});
    map.Add("IntSwissKnife", "Computed", {{"pVariable", "Plain", "A"}, {"Formula", "A + 1", ""}});
    map.Add("Integer", "Restricted", {{"pValue", "Plain", ""}, {"ImposedAccessMode", "RO", ""}});
    map.Add("Integer", "Locked", {{"pValue", "Plain", ""}, {"pIsLocked", "Lock", ""}}).Ready();
    for (const char* name : {"ReadOnly", "OfRegister", "Computed", "Restricted"})
        EXPECT_TRUE(IsForReadingOnly(&map.Node(name))) << name;
    for (const char* name : {"Plain", "WriteOnly", "Lock", "Locked"})
        EXPECT_FALSE(IsForReadingOnly(&map.Node(name))) << name;
    EXPECT_FALSE(IsForReadingOnly(nullptr));
}
