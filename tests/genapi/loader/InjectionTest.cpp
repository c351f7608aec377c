#include "LoaderTesting.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(Injection, AddsNewNodesAtTheEnd) {
    const Description description =
        Load("<Integer Name='A'/>", "<Group><Integer Name='B'><Value>5</Value></Integer></Group>");
    EXPECT_THAT(Names(description), ElementsAre("A", "B"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Value=5"));
}

TEST(Injection, OfAnEmptyTextChangesNothing) {
    for (const char* injected : {"", " \n"}) {
        EXPECT_THAT(Names(ParseDescription(Wrap("<Integer Name='A'/>"), injected)), ElementsAre("A"));
    }
}

TEST(Injection, UnitesCategoriesWithoutDoubles) {
    const Description description =
        Load("<Category Name='DeviceControl'><ToolTip>t</ToolTip><pFeature>A</pFeature></Category>",
             "<Category Name='DeviceControl'><ToolTip>u</ToolTip><pFeature>A</pFeature><pFeature> B </pFeature>"
             "<pFeature>B</pFeature></Category>");
    EXPECT_THAT(Properties(description, "DeviceControl"), ElementsAre("ToolTip=t", "pFeature=A", "pFeature=B"));
}

TEST(Injection, ReplacesANodeInItsPlaceByPriorityOne) {
    const Description description = Load("<Integer Name='A'><Value>1</Value></Integer><Integer Name='Z'/>",
                                         "<Float Name='A' MergePriority='+1'><Value>2</Value></Float>");
    EXPECT_THAT(Names(description), ElementsAre("A", "Z"));
    EXPECT_EQ(description.nodes[0].type, NodeType::Float);
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=2"));
}

TEST(Injection, TakesPriorityOneWithoutASign) {
    const Description description = Load("<Integer Name='A'><Value>1</Value></Integer>",
                                         "<Integer Name='A' MergePriority='1'><Value>2</Value></Integer>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=2"));
}

TEST(Injection, KeepsTheNodeByPriorityMinusOne) {
    const Description description = Load("<Integer Name='A'><Value>1</Value></Integer>",
                                         "<Integer Name='A' MergePriority='-1'><Value>2</Value></Integer>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=1"));
}

TEST(Injection, RefusesConflictsWithoutPriority) {
    for (const char* priority : {"", "MergePriority='0'"}) {
        const std::string injected = "\n<Integer Name='A' " + std::string(priority) + "/>";
        try {
            static_cast<void>(Load("<Integer Name='A'/>", injected));
            ADD_FAILURE() << "conflict was taken";
        } catch (const GenICam::RuntimeException& error) {
            EXPECT_THAT(error.GetDescription(), HasSubstr("injected text, line 2: node 'A'"));
        }
    }
}

TEST(Injection, TreatsStructEntriesAsNodes) {
    const Description description = Load(
        "<StructReg><Address>1</Address><StructEntry Name='A'/><StructEntry Name='B'/></StructReg>",
        "<StructReg><Address>2</Address><StructEntry Name='A' MergePriority='1'/><StructEntry Name='C'/></StructReg>");
    EXPECT_THAT(Names(description), ElementsAre("A", "B", "C"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Address=2"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Address=1"));
    EXPECT_THAT(Properties(description, "C"), ElementsAre("Address=2"));
}

TEST(Injection, ReplacesWholeEnumerations) {
    const Description description =
        Load("<Enumeration Name='A'><EnumEntry Name='X'/><EnumEntry Name='Y'/></Enumeration>",
             "<Enumeration Name='A' MergePriority='1'><EnumEntry Name='Z'/></Enumeration>");
    EXPECT_THAT(Names(description), ElementsAre("A", "EnumEntry_A_Z"));
    EXPECT_THAT(Problems(description), IsEmpty());
}

TEST(Injection, IgnoresTheRootAttributesOfTheInjectedText) {
    std::string injected = Wrap("<Integer Name='B'/>");
    injected.replace(injected.find("\"M\""), 3, "\"Other\"");
    const Description description = ParseDescription(Wrap("<Integer Name='A'/>"), injected);
    EXPECT_EQ(description.Info(MapProperty::ModelName), "M");
}

TEST(Injection, RefusesInjectedTextOfAnotherSchema) {
    EXPECT_THROW(static_cast<void>(ParseDescription(Wrap(""), "<RegisterDescription SchemaMajorVersion='2'/>")),
                 GenICam::RuntimeException);
}

TEST(Injection, ReportsNodesInjectedTwice) {
    const Description description = Load("", "<Integer Name='B'><Value>1</Value></Integer><Integer Name='B'/>");
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Value=1"));
    EXPECT_THAT(Problems(description), ElementsAre(HasSubstr("injected twice")));
}

TEST(Injection, TellsLinesOfTheInjectedText) {
    const Description description = Load("\n\n\n<Integer Name='A'/>", "\n<Integer Name='B'/>");
    EXPECT_EQ(FindNode(description, "A")->line, 4U);
    EXPECT_EQ(FindNode(description, "B")->line, 2U);
}

TEST(Merge, WritesTheUnionAsLoadableText) {
    const std::string merged =
        MergeDescriptions(Wrap("<Category Name='Root'><pFeature>A</pFeature></Category>"
                               "<Enumeration Name='A'><EnumEntry Name='X'><Value>1</Value>"
                               "<Symbolic>Ex</Symbolic></EnumEntry><Value>1</Value></Enumeration>"),
                          Wrap("<Category Name='Root'><pFeature>B</pFeature></Category>"
                               "<IntSwissKnife Name='B'><pVariable Name='Q'>A</pVariable>"
                               "<Formula>Q &lt; 1 &amp;&amp; \"x\"</Formula>"
                               "<ToolTip>a\nb\t\r &amp;lt;</ToolTip></IntSwissKnife>"));
    const Description description = ParseDescription(merged);
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "EnumEntry_A_X", "B"));
    EXPECT_THAT(Properties(description, "Root"), ElementsAre("pFeature=A", "pFeature=B"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pEnumEntry=EnumEntry_A_X", "Value=1"));
    EXPECT_THAT(Properties(description, "EnumEntry_A_X"), ElementsAre("Value=1", "Symbolic=Ex"));
    EXPECT_THAT(Properties(description, "B"),
                ElementsAre("pVariable[Name:Q]=A", "Formula=Q < 1 && \"x\"", "ToolTip=a\nb\t\n &lt;"));
    EXPECT_EQ(description.Info(MapProperty::ModelName), "M");
    EXPECT_THAT(Problems(description), IsEmpty());
}

TEST(Merge, LeavesADescriptionWithoutInjectionAsItIs) {
    const std::string once = MergeDescriptions(
        Wrap("<StructReg><Address>1</Address><IntSwissKnife Name='K'><Formula>1</Formula></IntSwissKnife>"
             "<StructEntry Name='A'><Bit>1</Bit></StructEntry></StructReg>"
             "<EnumEntry Name='EnumEntry_E_X'/><Enumeration "
             "Name='E'><pEnumEntry>EnumEntry_E_X</pEnumEntry></Enumeration>"
             "<ConfRom Name='C'><TextDesc Name='T'>81</TextDesc></ConfRom>"),
        "");
    EXPECT_EQ(MergeDescriptions(once, ""), once);
    EXPECT_THAT(Names(ParseDescription(once)), ElementsAre("K", "A", "EnumEntry_E_X", "E", "C", "T"));
}

} // namespace
} // namespace genapi::testkit
