// What a node is made of, part by part.
#include "genapi/nodes/access/AccessRule.h"
#include "genapi/nodes/access/Denial.h"
#include "genapi/nodes/base/Imposable.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/NodeDefect.h"
#include "genapi/support/TestMap.h"
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <Base/GCException.h>

using namespace genapi;
using genapi_test::TestMap;
using genapi_test::XmlMap;

namespace {

Node& Inner(GenApi::INode& node) {
    return dynamic_cast<Node&>(node);
}

std::string IntegerText(const std::string& name, const std::string& content) {
    return "<Integer Name=\"" + name + "\">" + content + "</Integer>";
}

PropertyRecord PropertyOf(PropertyId id, std::string_view value = {}) {
    PropertyRecord record{};
    record.id = id;
    record.value = value;
    return record;
}

} // namespace

TEST(Imposable, IsTheNarrowerOfWhatIsSaidAndImposed) {
    Imposable<GenApi::EAccessMode> mode(GenApi::RW);
    EXPECT_EQ(mode.Get(), GenApi::RW);
    mode.SetOwn(GenApi::RO);
    EXPECT_EQ(mode.Get(), GenApi::RO);
    mode.Impose(GenApi::NA);
    EXPECT_EQ(mode.Get(), GenApi::NA);
    mode.Impose(GenApi::RW);
    EXPECT_EQ(mode.Get(), GenApi::RO) << "imposed in place of what was imposed before";
    mode.SetOwn(GenApi::RW);
    mode.Impose(GenApi::WO);
    EXPECT_EQ(mode.Get(), GenApi::WO);
}

TEST(Imposable, HidesWhatEitherHides) {
    Imposable<GenApi::EVisibility> visibility(GenApi::Beginner);
    visibility.SetOwn(GenApi::Guru);
    visibility.Impose(GenApi::Expert);
    EXPECT_EQ(visibility.Get(), GenApi::Guru);
    visibility.Impose(GenApi::Invisible);
    EXPECT_EQ(visibility.Get(), GenApi::Invisible);
}

TEST(NodeDefect, KeepsTheFirstThatWasFound) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}}).Ready();
    NodeDefect defect;
    EXPECT_FALSE(defect);
    EXPECT_EQ(defect.Text(), "");
    defect.Mark(NodeDefect::Kind::Link, "first");
    defect.Mark(NodeDefect::Kind::Property, "second");
    EXPECT_EQ(defect.Text(), "first");
    try {
        defect.Throw(Inner(map.Node("I")), "GetValue");
    } catch (const GenICam::RuntimeException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "first");
        EXPECT_NE(std::string(exception.what()).find("'I.GetValue()'"), std::string::npos);
    }
}

TEST(NodeDefect, OfAPropertyThrowsPropertyException) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}}).Ready();
    NodeDefect defect;
    defect.Mark(NodeDefect::Kind::Property, "twelve");
    EXPECT_THROW(defect.Throw(Inner(map.Node("I")), "GetValue"), GenICam::PropertyException);
}

TEST(AccessRule, AsksItsPredicatesFromTheMostSevereOn) {
    TestMap map;
    map.Add("Integer", "Implemented", {{"Value", "1", ""}}).Add("Integer", "Available", {{"Value", "1", ""}});
    map.Add("Integer", "Locked", {{"Value", "0", ""}}).Ready();
    AccessRule rule;
    const GenApi::AutoLock lock(Inner(map.Node("Locked")).Host().Lock());
    EXPECT_EQ(rule.Own(), GenApi::RW) << "without predicates";
    for (const auto& [id, name] :
         {std::pair(PropertyId::pIsImplemented, "Implemented"), std::pair(PropertyId::pIsAvailable, "Available"),
          std::pair(PropertyId::pIsLocked, "Locked")}) {
        const PropertyRecord record = PropertyOf(id);
        rule.Bind({record, &Inner(map.Node(name)), nullptr});
    }
    EXPECT_EQ(rule.Own(), GenApi::RW);
    map.Integer("Locked").SetValue(1);
    EXPECT_EQ(rule.Own(), GenApi::RO);
    map.Integer("Available").SetValue(0);
    EXPECT_EQ(rule.Own(), GenApi::NA);
    EXPECT_TRUE(rule.IsImplemented());
    map.Integer("Implemented").SetValue(0);
    EXPECT_EQ(rule.Own(), GenApi::NI);
    EXPECT_FALSE(rule.IsImplemented());
}

TEST(AccessRule, TakesWhatIsImposedFromFileAndCode) {
    AccessRule rule;
    EXPECT_EQ(rule.Imposed(), GenApi::RW);
    const PropertyRecord readOnly = PropertyOf(PropertyId::ImposedAccessMode, "RO");
    rule.Bind({readOnly});
    EXPECT_EQ(rule.Imposed(), GenApi::RO);
    EXPECT_EQ(rule.Own(), GenApi::RW) << "predicates say nothing";
    rule.Impose(GenApi::WO);
    EXPECT_EQ(rule.Imposed(), GenApi::NA) << "neither is left";
    const PropertyRecord other = PropertyOf(PropertyId::ToolTip, "NI");
    rule.Bind({other});
    EXPECT_EQ(rule.Imposed(), GenApi::NA);
}

TEST(Denial, IsLaidToADescriptionThatIsAtFault) {
    const XmlMap map(IntegerText("Top", "<pValue>Middle</pValue>") + IntegerText("Middle", "<pValue>Nobody</pValue>") +
                     IntegerText("Sound", "<Value>1</Value><ImposedAccessMode>RO</ImposedAccessMode>"));
    Node& top = Inner(map.Node("Top"));
    const GenApi::AutoLock lock(top.Host().Lock());
    EXPECT_EQ(FindFaulty(top, Permission::Read), &Inner(map.Node("Middle")));
    EXPECT_EQ(FindFaulty(Inner(map.Node("Sound")), Permission::Write), nullptr);
    EXPECT_THROW(ThrowDenied(top, "SetValue", Permission::Write), GenICam::RuntimeException);
    EXPECT_THROW(ThrowDenied(Inner(map.Node("Sound")), "SetValue", Permission::Write), GenICam::AccessException);
}
