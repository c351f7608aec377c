// What a file turns into before nodes exist.

#include "LoaderTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(Preprocessing, KeepsNodesInDocumentOrderWithTypeNameAndNameSpace) {
    const Description description = Load("<Category Name='Root' NameSpace='Standard'><pFeature>A</pFeature></Category>"
                                         "<Integer Name='A'><Value>1</Value></Integer>"
                                         "<Port Name='Device'/>");
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "Device"));
    EXPECT_EQ(description.nodes[0].type, NodeType::Category);
    EXPECT_EQ(description.nodes[0].NameSpace(), "Standard");
    EXPECT_EQ(description.nodes[1].NameSpace(), "Custom");
    EXPECT_EQ(description.nodes[2].type, NodeType::Port);
    EXPECT_THAT(Properties(description, "Root"), ElementsAre("pFeature=A"));
    EXPECT_THAT(Problems(description), IsEmpty());
}

TEST(Preprocessing, KnowsEveryNodeType) {
    for (const std::string_view kind : kNodeTypeNames) {
        const std::string element = "<" + std::string(kind) + " Name='N'/>";
        const Description description = Load(element);
        ASSERT_EQ(description.nodes.size(), 1U) << kind;
        EXPECT_EQ(NodeTypeName(description.nodes[0].type), kind);
    }
}

TEST(Preprocessing, CountsLinesOfStartTags) {
    const Description description =
        Load("\n<Integer Name='A'/>\n\n<Enumeration Name='B'>\r\n <EnumEntry Name='C'/>\n</Enumeration>");
    EXPECT_EQ(FindNode(description, "A")->line, 2U);
    EXPECT_EQ(FindNode(description, "B")->line, 4U);
    EXPECT_EQ(FindNode(description, "EnumEntry_B_C")->line, 5U);
}

TEST(Preprocessing, DissolvesGroupsOfAnyDepth) {
    const Description description =
        Load("<Group Comment='a'><Integer Name='A'/><Group><Group/><Integer Name='B'/></Group></Group>"
             "<Integer Name='C'/><Group></Group><Group> </Group>");
    EXPECT_THAT(Names(description), ElementsAre("A", "B", "C"));
}

TEST(Preprocessing, SkipsExtensionsWhereTheyStandOnly) {
    const Description description = Load("<Extension><Integer Name='X'><Value>1</Value></Integer></Extension>"
                                         "<Integer Name='A'><Extension><Value>1</Value><pMin>Q</pMin></Extension>"
                                         "<Value>2</Value></Integer>");
    EXPECT_THAT(Names(description), ElementsAre("A"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=2"));
}

TEST(Preprocessing, MakesMaskedRegistersOfStructEntries) {
    const Description description =
        Load("<Integer Name='Z'/><StructReg Comment='c'><Address>0x10</Address><pAddress>Base</pAddress>"
             "<pIndex Offset='4'>Sel</pIndex><Length>4</Length><pPort>Device</pPort><Endianess>BigEndian</Endianess>"
             "<StructEntry Name='A' NameSpace='Standard'><Bit>3</Bit></StructEntry>"
             "<StructEntry Name='B'><LSB>7</LSB><MSB>4</MSB><Sign>Signed</Sign></StructEntry></StructReg>");
    EXPECT_THAT(Names(description), ElementsAre("Z", "A", "B"));
    EXPECT_EQ(FindNode(description, "A")->type, NodeType::MaskedIntReg);
    EXPECT_EQ(FindNode(description, "A")->NameSpace(), "Standard");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Address=0x10", "pAddress=Base", "pIndex[Offset:4]=Sel",
                                                          "Length=4", "pPort=Device", "Endianess=BigEndian", "Bit=3"));
    EXPECT_THAT(Properties(description, "B"),
                ElementsAre("Address=0x10", "pAddress=Base", "pIndex[Offset:4]=Sel", "Length=4", "pPort=Device",
                            "Endianess=BigEndian", "LSB=7", "MSB=4", "Sign=Signed"));
}

TEST(Preprocessing, LetsStructEntriesOverrideSingleElementsAndInheritTheRest) {
    const Description description =
        Load("<StructReg><ToolTip>s</ToolTip><Visibility>Guru</Visibility><pIsLocked>L</pIsLocked>"
             "<pIsAvailable>V</pIsAvailable><ImposedAccessMode>RO</ImposedAccessMode><Streamable>Yes</Streamable>"
             "<pLength>Len</pLength><AccessMode>RW</AccessMode><Cachable>NoCache</Cachable><PollingTime>9</PollingTime>"
             "<StructEntry Name='A'><ToolTip>e</ToolTip><Visibility>Expert</Visibility><pIsLocked>M</pIsLocked>"
             "<AccessMode>RO</AccessMode><Cachable>WriteAround</Cachable><PollingTime>5</PollingTime><Length>2</Length>"
             "</StructEntry></StructReg>");
    EXPECT_THAT(Properties(description, "A"),
                ElementsAre("pIsAvailable=V", "ImposedAccessMode=RO", "Streamable=Yes", "ToolTip=e",
                            "Visibility=Expert", "pIsLocked=M", "AccessMode=RO", "Cachable=WriteAround",
                            "PollingTime=5", "Length=2"));
}

TEST(Preprocessing, UnitesInvalidatorsOfStructRegAndEntry) {
    const Description description = Load("<StructReg><pInvalidator>S</pInvalidator>"
                                         "<StructEntry Name='A'><pInvalidator>E</pInvalidator></StructEntry>"
                                         "<StructEntry Name='B'/></StructReg>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pInvalidator=S", "pInvalidator=E"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("pInvalidator=S"));
}

TEST(Preprocessing, MakesOneNodeOfAFormulaInAStructRegWhereItStands) {
    const Description description = Load("<StructReg><IntSwissKnife Name='K'><Formula>1</Formula></IntSwissKnife>"
                                         "<StructEntry Name='A'/><StructEntry Name='B'/></StructReg>");
    EXPECT_THAT(Names(description), ElementsAre("K", "A", "B"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pAddress=K"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("pAddress=K"));
    EXPECT_THAT(Properties(description, "K"), ElementsAre("Formula=1"));
}

TEST(Preprocessing, RefusesAnExplosionOfInheritedProperties) {
    std::string text = "<StructReg>";
    for (int i = 0; i < 3000; ++i)
        text += "<pInvalidator>I</pInvalidator>";
    for (int i = 0; i < 3000; ++i)
        text += "<StructEntry Name='E" + std::to_string(i) + "'/>";
    const Description description = Load(text + "</StructReg>");
    EXPECT_EQ(description.nodes.size(), 3000U);
    EXPECT_LE(description.properties.size(), 2'000'000U);
    ASSERT_FALSE(description.problems.empty());
    EXPECT_THAT(description.problems[0].text, HasSubstr("inherit too many"));
}

TEST(Preprocessing, MakesNodesOfEntriesAfterTheirEnumeration) {
    const Description description =
        Load("<Enumeration Name='Mode' NameSpace='Standard'>"
             "<EnumEntry Name='On' NameSpace='Standard'><Value>1</Value></EnumEntry>"
             "<EnumEntry Name='12bit'><Value>2</Value><Symbolic>Twelve</Symbolic></EnumEntry>"
             "<pValue>R</pValue></Enumeration><Integer Name='R'/>");
    EXPECT_THAT(Names(description), ElementsAre("Mode", "EnumEntry_Mode_On", "EnumEntry_Mode_12bit", "R"));
    EXPECT_THAT(Properties(description, "Mode"),
                ElementsAre("pEnumEntry=EnumEntry_Mode_On", "pEnumEntry=EnumEntry_Mode_12bit", "pValue=R"));
    EXPECT_THAT(Properties(description, "EnumEntry_Mode_On"), ElementsAre("Value=1", "Symbolic=On"));
    EXPECT_THAT(Properties(description, "EnumEntry_Mode_12bit"), ElementsAre("Value=2", "Symbolic=Twelve"));
    EXPECT_EQ(FindNode(description, "EnumEntry_Mode_On")->NameSpace(), "Standard");
    EXPECT_EQ(FindNode(description, "EnumEntry_Mode_12bit")->NameSpace(), "Custom");
}

TEST(Preprocessing, LetsEntriesOfDifferentEnumerationsShareNames) {
    const Description description = Load("<Enumeration Name='A'><EnumEntry Name='Off'/></Enumeration>"
                                         "<Enumeration Name='B'><EnumEntry Name='Off'/></Enumeration>"
                                         "<Integer Name='Off'/>");
    EXPECT_THAT(Problems(description), IsEmpty());
    EXPECT_EQ(description.nodes.size(), 5U);
}

TEST(Preprocessing, TakesEntriesAtTopLevel) {
    const Description description = Load("<Enumeration Name='A'><pEnumEntry>EnumEntry_A_X</pEnumEntry></Enumeration>"
                                         "<EnumEntry Name='EnumEntry_A_X'><Symbolic>X</Symbolic></EnumEntry>"
                                         "<EnumEntry Name='Bare'/>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pEnumEntry=EnumEntry_A_X"));
    EXPECT_THAT(Properties(description, "EnumEntry_A_X"), ElementsAre("Symbolic=X"));
    EXPECT_THAT(Properties(description, "Bare"), ElementsAre("Symbolic=Bare"));
}

TEST(Preprocessing, KeepsTheFirstOfTwoEntriesOfOneName) {
    const Description description = Load("<Enumeration Name='A'><EnumEntry Name='X'><Value>1</Value></EnumEntry>"
                                         "<EnumEntry Name='X'><Value>2</Value></EnumEntry></Enumeration>");
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pEnumEntry=EnumEntry_A_X"));
    EXPECT_THAT(Properties(description, "EnumEntry_A_X"), ElementsAre("Value=1", "Symbolic=X"));
    EXPECT_THAT(Problems(description), ElementsAre(HasSubstr("second entry 'X'")));
}

TEST(Preprocessing, MakesAddressNodesOfFormulasInRegisters) {
    const Description description =
        Load("<IntReg Name='R'><Address>4</Address><IntSwissKnife Name='K'><pVariable Name='S'>Sel</pVariable>"
             "<Formula>S * 4</Formula></IntSwissKnife><Length>4</Length></IntReg>");
    EXPECT_THAT(Names(description), ElementsAre("R", "K"));
    EXPECT_EQ(FindNode(description, "K")->type, NodeType::IntSwissKnife);
    EXPECT_THAT(Properties(description, "R"), ElementsAre("Address=4", "pAddress=K", "Length=4"));
    EXPECT_THAT(Properties(description, "K"), ElementsAre("pVariable[Name:S]=Sel", "Formula=S * 4"));
}

TEST(Preprocessing, NamesFormulasInRegistersUniquely) {
    const Description description =
        Load("<Register Name='R'><IntSwissKnife><Formula>1</Formula></IntSwissKnife>"
             "<IntSwissKnife Name='K'><Formula>2</Formula></IntSwissKnife></Register>"
             "<StringReg Name='S'><IntSwissKnife Name='K'><Formula>3</Formula></IntSwissKnife>"
             "</StringReg><Integer Name='R_IntSwissKnife1'/>");
    EXPECT_THAT(Properties(description, "R"), ElementsAre("pAddress=R_IntSwissKnife2", "pAddress=K"));
    EXPECT_THAT(Properties(description, "S"), ElementsAre("pAddress=S_IntSwissKnife3"));
    EXPECT_THAT(Properties(description, "S_IntSwissKnife3"), ElementsAre("Formula=3"));
    EXPECT_THAT(Problems(description), IsEmpty());
}

TEST(Preprocessing, MakesNodesOfKeysInAConfigurationRom) {
    const Description description = Load("<ConfRom Name='C'><Unit>0</Unit><Address>0</Address>"
                                         "<TextDesc Name='T'>81</TextDesc><IntKey Name='I'>3</IntKey></ConfRom>");
    EXPECT_THAT(Names(description), ElementsAre("C", "T", "I"));
    EXPECT_THAT(Properties(description, "T"), ElementsAre("p1212Parser=C", "Key=81"));
    EXPECT_EQ(FindNode(description, "I")->type, NodeType::IntKey);
}

TEST(Preprocessing, ReadsAttributesOfProperties) {
    const Description description = Load(
        "<Integer Name='A'><pIndex>I</pIndex><ValueIndexed Index='1'>10</ValueIndexed>"
        "<pValueIndexed Index=' 0x2 '>B</pValueIndexed><ValueDefault>5</ValueDefault></Integer>"
        "<IntReg Name='R'><pIndex pOffset='O'>I</pIndex><pIndex Offset='8' pOffset='O'>J</pIndex></IntReg>"
        "<SwissKnife Name='S'><Constant Name='C'>1.5</Constant><Expression Name='E'> C * 2 </Expression></SwissKnife>");
    EXPECT_THAT(Properties(description, "A"),
                ElementsAre("pIndex=I", "ValueIndexed[Index:1]=10", "pValueIndexed[Index:0x2]=B", "ValueDefault=5"));
    EXPECT_THAT(Properties(description, "R"), ElementsAre("pIndex[pOffset:O]=I", "pIndex[Offset:8]=J"));
    EXPECT_THAT(Properties(description, "S"), ElementsAre("Constant[Name:C]=1.5", "Expression[Name:E]=C * 2"));
}

TEST(Preprocessing, KeepsTheFirstOfTwoNodesOfOneNameAndReportsTheSecond) {
    const Description description = Load("<Integer Name='A'><Value>1</Value></Integer>\n<Float Name='A'/>");
    EXPECT_THAT(Names(description), ElementsAre("A"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=1"));
    ASSERT_EQ(description.problems.size(), 1U);
    EXPECT_EQ(description.problems[0].line, 2U);
    EXPECT_EQ(description.problems[0].node, "A");
}

TEST(Preprocessing, LeavesOutWhatItDoesNotKnow) {
    const Description description = Load("<Novelty Name='N'/><Integer Name='A'><Novelty>1</Novelty><Value>2</Value>"
                                         "</Integer><Integer/><Integer Name=' '/>");
    EXPECT_THAT(Names(description), ElementsAre("A"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("Value=2"));
    EXPECT_THAT(Problems(description),
                ElementsAre(": Integer without a name", ": Integer without a name", "N: unknown kind of node"));
}

TEST(Preprocessing, LeavesOutPropertiesThatCannotMeanAnything) {
    const Description description =
        Load("<Integer Name='A'><pMin/><pMax> </pMax><ValueIndexed>3</ValueIndexed></Integer>"
             "<SwissKnife Name='B'><pVariable>A</pVariable></SwissKnife>"
             "<Enumeration Name='C'><EnumEntry/></Enumeration>");
    EXPECT_THAT(Properties(description, "A"), IsEmpty());
    EXPECT_THAT(Properties(description, "B"), IsEmpty());
    EXPECT_THAT(Properties(description, "C"), IsEmpty());
    EXPECT_EQ(description.problems.size(), 5U);
}

TEST(Preprocessing, StopsRepeatingOverlongNames) {
    const std::string longName(300, 'x');
    const Description description = Load("<Enumeration Name='" + longName + "'><EnumEntry Name='X'/></Enumeration>");
    EXPECT_EQ(description.nodes.size(), 1U);
    EXPECT_THAT(Problems(description), ElementsAre(HasSubstr("too long a name")));
}

} // namespace
} // namespace genapi::testkit
