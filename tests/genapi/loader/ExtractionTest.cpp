#include "LoaderTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace genapi::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

Description Extract(std::string_view nodes, std::string_view root) {
    return ParseDescription(ExtractSubtree(Wrap(nodes), {}, root));
}

constexpr std::string_view kChunkNodes =
    "<Category Name='Root'><pFeature>ChunkData</pFeature><pFeature>Gain</pFeature></Category>"
    "<Category Name='ChunkData'><pFeature>ChunkGain</pFeature></Category>"
    "<Integer Name='Gain'/>"
    "<Integer Name='ChunkGain'><pSelected>Gain</pSelected><pSelected>ChunkReg</pSelected><pAlias>Gain</pAlias>"
    "<pValue>ChunkReg</pValue></Integer>"
    "<IntReg Name='ChunkReg'><Address>0</Address><Length>4</Length><pPort>ChunkPort</pPort>"
    "<pInvalidator>Gain</pInvalidator><pInvalidator>ChunkGain</pInvalidator></IntReg>"
    "<Port Name='ChunkPort'><ChunkID>0504000D</ChunkID></Port>"
    "<Port Name='Device'/>";

TEST(Extraction, HoldsARootTheWantedNodeAndAllThatItNeeds) {
    const Description description = Extract(kChunkNodes, "ChunkData");
    EXPECT_THAT(Names(description), ElementsAre("Root", "ChunkData", "ChunkGain", "ChunkReg", "ChunkPort"));
    EXPECT_THAT(Properties(description, "Root"), ElementsAre("pFeature=ChunkData"));
    EXPECT_EQ(description.Info(MapProperty::ModelName), "M");
    EXPECT_EQ(description.Info(MapProperty::VersionGuid), "G");
    EXPECT_EQ(description.nameSpaceUri, "http://www.genicam.org/GenApi/Version_1_1");
}

TEST(Extraction, DropsLinksThatLeaveTheSubtree) {
    const Description description = Extract(kChunkNodes, "ChunkData");
    EXPECT_THAT(Properties(description, "ChunkGain"), ElementsAre("pSelected=ChunkReg", "pValue=ChunkReg"));
    EXPECT_THAT(Properties(description, "ChunkReg"),
                ElementsAre("Address=0", "Length=4", "pPort=ChunkPort", "pInvalidator=ChunkGain"));
}

TEST(Extraction, OfAnUnknownNodeIsEmpty) {
    EXPECT_EQ(ExtractSubtree(Wrap(kChunkNodes), {}, "Nothing"), "");
    EXPECT_EQ(ExtractSubtree(Wrap(kChunkNodes), {}, ""), "");
}

TEST(Extraction, OfRootHoldsOneRoot) {
    const Description description = Extract(kChunkNodes, "Root");
    EXPECT_THAT(Names(description), ElementsAre("Root", "ChunkData", "Gain", "ChunkGain", "ChunkReg", "ChunkPort"));
    EXPECT_THAT(Properties(description, "Root"), ElementsAre("pFeature=ChunkData", "pFeature=Gain"));
}

TEST(Extraction, MergesTheInjectedTextFirst) {
    const std::string injected = Wrap("<Category Name='ChunkData'><pFeature>Extra</pFeature></Category>"
                                      "<Integer Name='Extra'><Value>1</Value></Integer>");
    const Description description = ParseDescription(ExtractSubtree(Wrap(kChunkNodes), injected, "ChunkData"));
    EXPECT_THAT(Properties(description, "ChunkData"), ElementsAre("pFeature=ChunkGain", "pFeature=Extra"));
    EXPECT_THAT(Properties(description, "Extra"), ElementsAre("Value=1"));
}

TEST(Extraction, FollowsEveryKindOfNeed) {
    constexpr const char* kLinks[] = {
        "pFeature",  "pValue",        "pValueCopy", "pIndex",   "pValueDefault", "pMin",           "pMax",
        "pInc",      "pAddress",      "pLength",    "pPort",    "pCommandValue", "pIsImplemented", "pIsAvailable",
        "pIsLocked", "pBlockPolling", "pError",     "pChunkID", "pEnumEntry",
    };
    for (const std::string link : kLinks) {
        const Description description =
            Extract("<Integer Name='A'><" + link + ">B</" + link + "></Integer><Integer Name='B'/>", "A");
        EXPECT_THAT(Names(description), ElementsAre("Root", "A", "B")) << link;
    }
}

TEST(Extraction, FollowsLinksWithAttributes) {
    const Description description =
        Extract("<IntReg Name='A'><pIndex pOffset='O'>I</pIndex></IntReg><Integer Name='I'>"
                "<pValueIndexed Index='1'>V</pValueIndexed></Integer><Integer Name='O'/>"
                "<SwissKnife Name='V'><pVariable Name='X.Max'>W</pVariable><Formula>X.Max</Formula></SwissKnife>"
                "<Integer Name='W'/>",
                "A");
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "I", "O", "V", "W"));
    EXPECT_THAT(Properties(description, "A"), ElementsAre("pIndex[pOffset:O]=I"));
}

TEST(Extraction, TakesOnlyTheWantedEntriesOfAStructReg) {
    const Description description = Extract("<StructReg><Address>4</Address><pPort>P</pPort><StructEntry Name='A'/>"
                                            "<StructEntry Name='B'/></StructReg><Port Name='P'/>",
                                            "B");
    EXPECT_THAT(Names(description), ElementsAre("Root", "B", "P"));
    EXPECT_THAT(Properties(description, "B"), ElementsAre("Address=4", "pPort=P"));
}

TEST(Extraction, TakesFormulasInsideRegisters) {
    const Description description = Extract("<IntReg Name='A'><IntSwissKnife Name='K'><pVariable Name='X'>B</pVariable>"
                                            "<Formula>X</Formula></IntSwissKnife></IntReg><Integer Name='B'/>",
                                            "A");
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "K", "B"));
}

TEST(Extraction, KeepsEnumerationsWithAllEntries) {
    const Description description =
        Extract("<Enumeration Name='A'><EnumEntry Name='X'><pIsAvailable>B</pIsAvailable></EnumEntry>"
                "<EnumEntry Name='Y'/></Enumeration><Integer Name='B'/>",
                "A");
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "EnumEntry_A_X", "EnumEntry_A_Y", "B"));
    EXPECT_THAT(Properties(description, "EnumEntry_A_X"), ElementsAre("pIsAvailable=B", "Symbolic=X"));
}

TEST(Extraction, TakesAnEntryThatIsNeededAlone) {
    const Description description = Extract("<IntSwissKnife Name='A'><pVariable Name='X'>EnumEntry_E_X</pVariable>"
                                            "</IntSwissKnife><Enumeration Name='E'><EnumEntry Name='X'/></Enumeration>",
                                            "A");
    EXPECT_THAT(Names(description), ElementsAre("Root", "A", "EnumEntry_E_X"));
    EXPECT_EQ(description.nodes[2].type, NodeType::EnumEntry);
}

TEST(Extraction, TakesAnEntryThatStandsAloneAndFirst) {
    const Description description = Extract("<EnumEntry Name='Alone'><Value>3</Value></EnumEntry>"
                                            "<IntSwissKnife Name='A'><pVariable Name='X'>Alone</pVariable>"
                                            "</IntSwissKnife>",
                                            "A");
    EXPECT_THAT(Names(description), UnorderedElementsAre("Root", "A", "Alone"));
    EXPECT_THAT(Properties(description, "Alone"), ElementsAre("Value=3", "Symbolic=Alone"));
}

TEST(Extraction, EndsInCyclesAndLongChains) {
    std::string nodes = "<Integer Name='N0'><pMax>N0</pMax><pValue>N1</pValue></Integer>";
    for (int i = 1; i < 20000; ++i) {
        nodes += "<Integer Name='N" + std::to_string(i) + "'><pValue>N" + std::to_string((i + 1) % 20000) +
                 "</pValue></Integer>";
    }
    EXPECT_EQ(Extract(nodes, "N0").nodes.size(), 20001U);
}

} // namespace
} // namespace genapi::testkit
