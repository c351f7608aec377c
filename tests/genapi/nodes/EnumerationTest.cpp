// Enumerations and their entries.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::Property;
using genapi_test::TestMap;

namespace {

// Entries by name, value and further properties. bound to a thread
class ModeMap : public TestMap {
public:
    ModeMap& Entry(const char* symbolic, const char* value, const std::vector<Property>& more = {}) {
        const std::string name = std::string("EnumEntry_Mode_") + symbolic;
        std::vector<Property> properties = {{"Value", value, ""}, {"Symbolic", symbolic, ""}};
        properties.insert(properties.end(), more.begin(), more.end());
        Add("EnumEntry", name.c_str(), properties);
        m_Links.push_back({"pEnumEntry", name, ""});
        return *this;
    }
    ModeMap& Mode(const std::vector<Property>& source) {
        std::vector<Property> properties = m_Links;
        properties.insert(properties.end(), source.begin(), source.end());
        Add("Enumeration", "Mode", properties).Ready();
        return *this;
    }
    IEnumeration& operator*() { return As<IEnumeration>("Mode"); }
    IEnumeration* operator->() { return &**this; }

private:
    std::vector<Property> m_Links;
};

} // namespace

TEST(Enumeration, ListsWhatIsAvailableAndKnowsTheRest) {
    ModeMap map;
    map.Add("Integer", "No", {{"Value", "0", ""}});
    map.Entry("A", "0").Entry("B", "1").Entry("C", "2", {{"pIsAvailable", "No", ""}});
    map.Entry("D", "3", {{"pIsImplemented", "No", ""}}).Mode({{"Value", "0", ""}});
    StringList_t symbolics;
    map->GetSymbolics(symbolics);
    EXPECT_EQ(symbolics, (StringList_t{"A", "B"}));
    NodeList_t entries;
    map->GetEntries(entries);
    EXPECT_EQ(entries.size(), 4u);
    EXPECT_THROW(map->FromString("C"), GenICam::AccessException);
    EXPECT_THROW(map->SetIntValue(2), GenICam::AccessException);
    EXPECT_NO_THROW(map->FromString("C", /*Verify=*/false));
    EXPECT_EQ(**map, "C");
}

TEST(Enumeration, SetsValuesByNameAndNumber) {
    ModeMap map;
    map.Entry("Off", "0").Entry("On", "5", {{"NumericValue", "2.5", ""}}).Mode({{"Value", "0", ""}});
    *map = GenICam::gcstring("On");
    EXPECT_EQ(map->GetIntValue(), 5);
    EXPECT_EQ(map->ToString(), "On");
    EXPECT_EQ(map->GetCurrentEntry()->GetSymbolic(), "On");
    EXPECT_EQ(map->GetCurrentEntry()->GetNumericValue(), 2.5);
    map->SetIntValue(0);
    EXPECT_EQ(map->ToString(), "Off");
    EXPECT_EQ(map->GetEntryByName("On")->GetValue(), 5);
    EXPECT_EQ(map->GetEntry(5), map->GetEntryByName("On"));
    EXPECT_EQ(map->GetEntryByName("on"), nullptr);
    EXPECT_EQ(map->GetEntry(7), nullptr);
    EXPECT_THROW(map->FromString("Nobody"), GenICam::InvalidArgumentException);
    EXPECT_THROW(map->SetIntValue(7), GenICam::InvalidArgumentException);
    EXPECT_EQ(map.Node("EnumEntry_Mode_On").GetDisplayName(), "On");
    EXPECT_THROW(map.Value("EnumEntry_Mode_On").FromString("x"), GenICam::AccessException);
}

TEST(Enumeration, TakesAnyNumberWithoutVerifyAndThenHasNoName) {
    ModeMap map;
    map.Entry("Off", "0").Mode({{"Value", "0", ""}});
    map->SetIntValue(9, /*Verify=*/false);
    EXPECT_EQ(map->GetIntValue(), 9);
    EXPECT_EQ(map->ToString(), "");
    EXPECT_EQ(map->GetCurrentEntry(), nullptr);
    EXPECT_THROW(map->ToString(/*Verify=*/true), GenICam::RuntimeException);
    EXPECT_THROW(map->GetIntValue(/*Verify=*/true), GenICam::GenericException);
}

TEST(Enumeration, ChoosesTheAvailableOneOfEntriesWithEqualValues) {
    ModeMap map;
    map.Add("Integer", "No", {{"Value", "0", ""}});
    map.Entry("Old", "1", {{"pIsAvailable", "No", ""}}).Entry("New", "1").Mode({{"Value", "1", ""}});
    EXPECT_EQ(map->ToString(), "New");
    map.Node("EnumEntry_Mode_New").ImposeAccessMode(NA);
    EXPECT_EQ(map->ToString(), "Old");
}

TEST(Enumeration, CanBeReadThoughItsEntriesDependOnItself) {
    ModeMap map;
    map.Add("IntSwissKnife", "IsOn", {{"pVariable", "Mode", "M"}, {"Formula", "M = 1", ""}});
    map.Entry("On", "1", {{"pIsAvailable", "IsOn", ""}}).Entry("Other", "1", {{"pIsAvailable", "IsOn", ""}});
    map.Mode({{"Value", "1", ""}});
    EXPECT_EQ(map->ToString(), "On");
    EXPECT_EQ(map->GetIntValue(), 1);
    StringList_t symbolics;
    map->GetSymbolics(symbolics);
    EXPECT_EQ(symbolics.size(), 2u);
}

TEST(Enumeration, ServesNumbersOfBothKinds) {
    ModeMap map;
    map.Add("Float", "F", {{"pValue", "Mode", ""}}).Add("Integer", "I", {{"pValue", "Mode", ""}});
    map.Entry("Low", "0", {{"NumericValue", "1.5", ""}}).Entry("High", "7", {{"NumericValue", "9.5", ""}});
    map.Mode({{"Value", "7", ""}});
    EXPECT_EQ(map.Float("F").GetValue(), 9.5);
    EXPECT_EQ(map.Integer("I").GetValue(), 7);
    map.Float("F").SetValue(2.0, /*Verify=*/false);
    EXPECT_EQ(map->ToString(), "Low");
    EXPECT_EQ(map.Integer("I").GetMin(), 0);
    EXPECT_EQ(map.Integer("I").GetMax(), 7);
    EXPECT_EQ(map.Integer("I").GetInc(), 1);
}

TEST(Enumeration, LimitsRealsByTheNumbersThatTheyAreReadAs) {
    ModeMap map;
    map.Add("Float", "F", {{"pValue", "Mode", ""}});
    map.Entry("Low", "0", {{"NumericValue", "1.5", ""}}).Entry("High", "7", {{"NumericValue", "9.5", ""}});
    map.Mode({{"Value", "7", ""}});
    EXPECT_EQ(map.Float("F").GetMin(), 1.5);
    EXPECT_EQ(map.Float("F").GetMax(), 9.5);
    EXPECT_FALSE(map.Float("F").HasInc());
    EXPECT_EQ(map.Float("F").GetValue(/*Verify=*/true), 9.5);
    map.Float("F").SetValue(1.5);
    EXPECT_EQ(map->ToString(), "Low");
    EXPECT_THROW(map.Float("F").SetValue(0.0), GenICam::OutOfRangeException);
}

TEST(Enumeration, DoesNotTrustAValueThatClearsItself) {
    ModeMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Entry("Off", "0").Entry("Once", "1", {{"IsSelfClearing", "Yes", ""}}).Mode({{"pValue", "R", ""}});
    int calls = 0;
    map->FromString("Once");
    Register(&map.Node("Mode"), [&](INode*) { ++calls; });
    EXPECT_EQ(map->ToString(), "Once");
    map.Poll(1);
    EXPECT_EQ(calls, 0);
    map.port.Put(0, {0});
    map.Poll(1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(map->ToString(), "Off");
    const int reads = map.port.reads;
    map->ToString();
    EXPECT_EQ(map.port.reads, reads) << "an ordinary value is cached again";
}

TEST(Enumeration, DoesNotTrustTheCacheAfterItHasWrittenAValueThatClearsItself) {
    ModeMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Entry("Off", "0").Entry("Once", "1", {{"IsSelfClearing", "Yes", ""}}).Mode({{"pValue", "R", ""}});
    map->FromString("Once");
    map.port.Put(0, {0});
    EXPECT_EQ(map->ToString(), "Off");
    map->SetIntValue(1);
    map.port.Put(0, {0});
    EXPECT_EQ(map->ToString(), "Off");
}

TEST(Enumeration, TakesTheFirstOfEntriesThatAreEquallyNear) {
    ModeMap map;
    map.Add("Float", "F", {{"pValue", "Mode", ""}});
    map.Entry("Three", "3").Entry("One", "1").Entry("Five", "5").Mode({{"Value", "5", ""}});
    map.Float("F").SetValue(2.0);
    EXPECT_EQ(map->ToString(), "Three");
}

TEST(Enumeration, TakesANameBetweenBlanks) {
    ModeMap map;
    map.Entry("Off", "0").Entry("On", "1").Mode({{"Value", "0", ""}});
    map->FromString(" On\n");
    EXPECT_EQ(map->ToString(), "On");
}

TEST(Enumeration, ReplacesTheListOfNames) {
    ModeMap map;
    map.Entry("Off", "0").Mode({{"Value", "0", ""}});
    StringList_t symbolics{"Old"};
    map->GetSymbolics(symbolics);
    EXPECT_EQ(symbolics, (StringList_t{"Off"}));
}
