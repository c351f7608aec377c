// What restricts the access to a node.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace GenApi;
using genapi_test::Property;
using genapi_test::TestMap;

namespace {

constexpr EAccessMode kModes[] = {NI, NA, WO, RO, RW};
constexpr EAccessMode kCombined[5][5] = {
    {NI, NI, NI, NI, NI}, {NI, NA, NA, NA, NA}, {NI, NA, WO, NA, WO}, {NI, NA, NA, RO, RO}, {NI, NA, WO, RO, RW}};

// A register with predicates that the test can set. bound to a thread
class Guarded : public TestMap {
public:
    explicit Guarded(const char* registerMode, const std::vector<Property>& more = {}) {
        for (const char* const name : {"Implemented", "Available"})
            Add("Integer", name, {{"Value", "1", ""}});
        Add("Integer", "Locked", {{"Value", "0", ""}});
        AddRegister("IntReg", "R", "0", {{"AccessMode", registerMode, ""}});
        std::vector<Property> properties = {{"pValue", "R", ""},
                                            {"pIsImplemented", "Implemented", ""},
                                            {"pIsAvailable", "Available", ""},
                                            {"pIsLocked", "Locked", ""}};
        properties.insert(properties.end(), more.begin(), more.end());
        Add("Integer", "I", properties).Ready();
    }
};

} // namespace

TEST(AccessMode, CombinesWithoutEverWidening) {
    for (int a = 0; a < 5; ++a) {
        for (int b = 0; b < 5; ++b)
            EXPECT_EQ(Combine(kModes[a], kModes[b]), kCombined[a][b]) << a << ' ' << b;
    }
}

TEST(AccessMode, OfANullPointerIsNothing) {
    const IBase* const pNothing = nullptr;
    EXPECT_FALSE(IsReadable(pNothing) || IsWritable(pNothing) || IsAvailable(pNothing) || IsImplemented(pNothing));
}

TEST(AccessMode, IsTakenAwayByPredicates) {
    Guarded map("RW");
    EXPECT_EQ(map.Mode("I"), RW);
    map.Integer("Locked").SetValue(1);
    EXPECT_EQ(map.Mode("I"), RO);
    map.Integer("Available").SetValue(0);
    EXPECT_EQ(map.Mode("I"), NA);
    map.Integer("Implemented").SetValue(0);
    EXPECT_EQ(map.Mode("I"), NI);
    map.Integer("Available").SetValue(1);
    EXPECT_EQ(map.Mode("I"), NI);
    EXPECT_THROW(map.Integer("I").GetValue(/*Verify=*/true), GenICam::AccessException);
    EXPECT_NO_THROW(map.Integer("I").GetValue()) << "without verify nobody asks";
}

TEST(AccessMode, OfALockedWriteOnlyNodeIsNotAvailable) {
    Guarded map("WO");
    map.Integer("Locked").SetValue(1);
    EXPECT_EQ(map.Mode("I"), NA);
}

TEST(AccessMode, IsRestrictedButNeverWidenedByWhatIsImposed) {
    EXPECT_EQ(Guarded("RW", {{"ImposedAccessMode", "RO", ""}}).Mode("I"), RO);
    Guarded map("RO", {{"ImposedAccessMode", "RW", ""}});
    EXPECT_EQ(map.Mode("I"), RO);
    map.Node("I").ImposeAccessMode(WO);
    EXPECT_EQ(map.Mode("I"), NA);
    map.Node("I").ImposeAccessMode(RW);
    EXPECT_EQ(map.Mode("I"), RO) << "a later call replaces the earlier one";
}

TEST(AccessMode, FollowsThePortAtOnceAndAsksNoPredicateOfAClosedDevice) {
    TestMap map;
    map.AddRegister("IntReg", "Lock", "8");
    map.AddRegister("IntReg", "R", "0", {{"pIsLocked", "Lock", ""}, {"pIsImplemented", "Lock", ""}}).Ready();
    EXPECT_EQ(map.Mode("R"), NI);
    map.Integer("Lock").SetValue(1);
    EXPECT_EQ(map.Mode("R"), RO);
    map.Integer("Lock").SetValue(0);
    map.port.mode = NA;
    map.port.failure = "closed";
    EXPECT_EQ(map.Mode("R"), NA);
    map.Connect(nullptr);
    EXPECT_EQ(map.Mode("R"), NI);
    EXPECT_THROW(map.Integer("R").GetValue(), GenICam::AccessException);
}

TEST(AccessMode, OfAMissingFeatureIsNotThatOfATargetThatIsNotAvailable) {
    TestMap map;
    map.Add("Integer", "No", {{"Value", "0", ""}});
    map.AddRegister("IntReg", "Present", "8", {{"Cachable", "NoCache", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIsAvailable", "No", ""}});
    map.Add("Integer", "Missing", {{"pValue", "R", ""}, {"pIsImplemented", "No", ""}});
    map.Add("Integer", "Asking", {{"pValue", "R", ""}, {"pIsImplemented", "Present", ""}}).Ready();
    EXPECT_EQ(map.Mode("R"), NA);
    EXPECT_EQ(map.Mode("Missing"), NI);
    EXPECT_EQ(map.Mode("Asking"), NI);
    map.Integer("Present").SetValue(1);
    EXPECT_EQ(map.Mode("Asking"), NA);

    map.port.failure = "cable";
    EXPECT_THROW(map.Mode("Asking"), GenICam::RuntimeException) << "the device is open, so the predicate counts";
    EXPECT_EQ(map.Mode("Missing"), NI);
}

TEST(AccessMode, OfAClosedPortIsTheLastWordHoweverFarBelow) {
    TestMap map;
    map.Add("Integer", "No", {{"Value", "0", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIsImplemented", "No", ""}});
    map.Add("Integer", "I", {{"pValue", "R", ""}, {"pIsImplemented", "No", ""}});
    map.Add("Integer", "Upon", {{"pValue", "I", ""}, {"pIsImplemented", "No", ""}});
    map.Add("IntSwissKnife", "F", {{"pVariable", "R", "X"}, {"Formula", "X", ""}, {"pIsImplemented", "No", ""}});
    map.Add("Category", "C", {{"pFeature", "Upon", ""}, {"pFeature", "I", ""}, {"pIsImplemented", "No", ""}}).Ready();
    for (const char* const name : {"R", "I", "Upon", "F", "C"})
        EXPECT_EQ(map.Mode(name), NI) << name;
    map.port.mode = NA;
    for (const char* const name : {"R", "I", "Upon", "F", "C"})
        EXPECT_EQ(map.Mode(name), NA) << name;
}

TEST(AccessMode, IsNotThatOfAClosedPortThatAPredicateAsksFor) {
    TestMap map;
    map.Add("Port", "Chunk").Add("Integer", "No", {{"Value", "0", ""}});
    map.AddRegister("IntReg", "C", "0", {{"pPort", "Chunk", ""}});
    map.Add("IntSwissKnife", "IsRW", {{"pVariable", "C", "X.AccessMode"}, {"Formula", "X.AccessMode = 4", ""}});
    map.Add("Integer", "Grey", {{"Value", "0", ""}, {"pIsAvailable", "IsRW", ""}});
    map.Add("Integer", "Missing", {{"pValue", "Grey", ""}, {"pIsImplemented", "No", ""}}).Ready();
    EXPECT_EQ(map.Mode("C"), NI);
    EXPECT_EQ(map.Mode("Grey"), NA);
    EXPECT_EQ(map.Mode("Missing"), NI);
}

TEST(AccessMode, LetsTheFaultOfAPredicateThrough) {
    TestMap map;
    map.AddRegister("IntReg", "Lock", "8", {{"Cachable", "NoCache", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pIsLocked", "Lock", ""}}).Ready();
    map.port.failure = "cable";
    EXPECT_THROW(map.Mode("R"), GenICam::RuntimeException);
    map.port.failure.clear();
    EXPECT_EQ(map.Mode("R"), RW) << "a failed question leaves no mark";
}

TEST(AccessMode, TakesPredicatesOfAnyKind) {
    TestMap map;
    map.Add("Boolean", "Flag", {{"Value", "true", ""}});
    map.Add("Float", "Real", {{"Value", "0.25", ""}});
    map.Add("EnumEntry", "EnumEntry_E_On", {{"Value", "1", ""}, {"Symbolic", "On", ""}});
    map.Add("Enumeration", "E", {{"pEnumEntry", "EnumEntry_E_On", ""}, {"Value", "1", ""}});
    map.Add("Integer", "A", {{"Value", "0", ""}, {"pIsLocked", "Flag", ""}});
    map.Add("Integer", "B", {{"Value", "0", ""}, {"pIsLocked", "Real", ""}});
    map.Add("Integer", "C", {{"Value", "0", ""}, {"pIsLocked", "E", ""}}).Ready();
    for (const char* const name : {"A", "B", "C"})
        EXPECT_EQ(map.Mode(name), RO) << name;
}

TEST(AccessMode, OfAMultiplexerIsThatOfTheSelectedTarget) {
    TestMap map;
    map.Add("Integer", "Index", {{"Value", "1", ""}});
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "RO", ""}});
    map.Add("Integer", "I", {{"pIndex", "Index", ""}, {"pValueIndexed", "R", "1"}, {"ValueDefault", "0", ""}}).Ready();
    EXPECT_EQ(map.Mode("I"), RO);
    map.Integer("Index").SetValue(2);
    EXPECT_EQ(map.Mode("I"), RW);
    map.Node("Index").ImposeAccessMode(NA);
    EXPECT_EQ(map.Mode("I"), NA);
}

TEST(AccessMode, OfACategoryIsTheBestOfItsFeatures) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}});
    map.Add("Category", "Root", {{"pFeature", "A", ""}, {"pFeature", "B", ""}});
    map.Add("Category", "Empty").Ready();
    EXPECT_EQ(map.Mode("Root"), RO);
    EXPECT_EQ(map.Mode("Empty"), RO);
    map.Node("A").ImposeAccessMode(NI);
    map.Node("B").ImposeAccessMode(NA);
    EXPECT_EQ(map.Mode("Root"), NA);
    map.Node("B").ImposeAccessMode(NI);
    EXPECT_EQ(map.Mode("Root"), NI);
}

TEST(AccessMode, AnswersThoughItLeadsBackToTheNode) {
    TestMap map;
    map.Add("IntSwissKnife", "Lock", {{"pVariable", "I", "X.AccessMode"}, {"Formula", "X.AccessMode = 4", ""}});
    map.Add("Integer", "I", {{"Value", "0", ""}, {"pIsLocked", "Lock", ""}}).Ready();
    EXPECT_EQ(map.Mode("I"), RO) << "met again, the node restricts nothing";
    EXPECT_EQ(map.Mode("I"), RO);
}

TEST(AccessMode, IsCheckedOnEveryLevelOfAVerifiedWrite) {
    TestMap map;
    map.Add("Integer", "Lock", {{"Value", "1", ""}});
    map.Add("Integer", "Deep", {{"Value", "0", ""}, {"pIsLocked", "Lock", ""}});
    map.Add("Integer", "Top", {{"pValue", "Deep", ""}}).Ready();
    EXPECT_EQ(map.Mode("Top"), RO);
    EXPECT_THROW(map.Integer("Top").SetValue(1), GenICam::AccessException);
    EXPECT_NO_THROW(map.Integer("Top").SetValue(1, /*Verify=*/false));
}

TEST(Visibility, IsTheMoreHiddenOfOwnAndImposed) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"Visibility", "Expert", ""}}).Ready();
    EXPECT_EQ(map.Node("I").GetVisibility(), Expert);
    map.Node("I").ImposeVisibility(Beginner);
    EXPECT_EQ(map.Node("I").GetVisibility(), Expert);
    map.Node("I").ImposeVisibility(Guru);
    EXPECT_EQ(map.Node("I").GetVisibility(), Guru);
    EXPECT_TRUE(IsVisible(Expert, Guru));
    EXPECT_FALSE(IsVisible(Invisible, Guru));
}

TEST(Exceptions, NameTheNodeAndTheOperation) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"Max", "1", ""}, {"ImposedAccessMode", "RO", ""}}).Ready();
    try {
        map.Integer("I").SetValue(1);
        FAIL() << "the write succeeded";
    } catch (const GenICam::AccessException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "'I' is not writable.");
        EXPECT_NE(std::string(exception.what()).find("thrown in node 'I' while calling 'I.SetValue()'"),
                  std::string::npos)
            << exception.what();
    }
}

TEST(Exceptions, TellWhereTheyWereThrown) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"ImposedAccessMode", "RO", ""}}).Ready();
    try {
        map.Integer("I").SetValue(1);
        FAIL() << "the write succeeded";
    } catch (const GenICam::AccessException& exception) {
        EXPECT_STREQ(exception.GetSourceFileName(), "Denial.cpp");
        EXPECT_GT(exception.GetSourceLine(), 0u);
    }
}

TEST(AccessMode, OfACategoryIsToldThoughAMemberCannotBeAsked) {
    TestMap map;
    map.Add("IntSwissKnife", "Broken", {{"Formula", "1 / 0", ""}});
    map.Add("Integer", "Bad", {{"Value", "0", ""}, {"pIsAvailable", "Broken", ""}});
    map.Add("Integer", "Good", {{"Value", "0", ""}});
    map.Add("Category", "Both", {{"pFeature", "Bad", ""}, {"pFeature", "Good", ""}});
    map.Add("Category", "Alone", {{"pFeature", "Bad", ""}});
    map.Add("Category", "Root", {{"pFeature", "Alone", ""}, {"pFeature", "Both", ""}}).Ready();
    EXPECT_THROW(map.Node("Bad").GetAccessMode(), GenICam::RuntimeException);
    EXPECT_EQ(map.Node("Both").GetAccessMode(), RO);
    EXPECT_EQ(map.Node("Alone").GetAccessMode(), NA);
    EXPECT_EQ(map.Node("Root").GetAccessMode(), RO);
}

TEST(Exceptions, NameTheLimitWithAsFewDigitsAsItHas) {
    TestMap map;
    map.Add("Float", "F", {{"Value", "0.5", ""}, {"Min", "0.1", ""}, {"Max", "0.7", ""}}).Ready();
    try {
        map.As<IFloat>("F").SetValue(0.05);
        FAIL() << "the write succeeded";
    } catch (const GenICam::OutOfRangeException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "Value 0.05 must be greater than or equal to Min 0.1.");
    }
}

TEST(Exceptions, OfAnEmptyPointerNameWhatWasLookedForLast) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}}).Ready();
    const auto textOf = [](const auto& pointer) {
        try {
            static_cast<void>(pointer->GetNode());
        } catch (const GenICam::LogicalErrorException& exception) {
            return std::string(exception.GetDescription());
        }
        return std::string("no error");
    };
    const CIntegerPtr misspelt(map.GetNode("Wdith"));
    EXPECT_EQ(textOf(misspelt), "NULL pointer dereferenced. What was looked for last: 'Wdith' is unknown");
    const CFloatPtr unfit(map.GetNode("I"));
    EXPECT_EQ(textOf(unfit), "NULL pointer dereferenced. What was looked for last: 'I' does not offer this interface");
    std::thread([&] { EXPECT_EQ(textOf(unfit), "NULL pointer dereferenced"); }).join();
}
