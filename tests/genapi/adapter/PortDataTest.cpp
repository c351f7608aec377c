// The data of chunks and events as ports hand them out.
#include "genapi/support/TestMap.h"
#include "genapi/support/Watch.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::Property;
using genapi_test::TestMap;
using genapi_test::Watch;

namespace {

// A port with a register that may be read and written, and a feature upon it. bound to a thread
class DataMap : public TestMap {
public:
    explicit DataMap(const std::vector<Property>& properties) {
        Add("Port", "Data", properties);
        Add("IntReg", "R",
            {{"pPort", "Data", ""}, {"Address", "0", ""}, {"Length", "2", ""}, {"AccessMode", "RW", ""}});
        Add("Integer", "Feature", {{"pValue", "R", ""}}).Ready();
    }
    IPort& Port() { return As<IPort>("Data"); }
};

} // namespace

TEST(ChunkData, AreWrittenWhereTheyLie) {
    DataMap map({{"ChunkID", "0A", ""}});
    CChunkPort port(&map.Port());
    EXPECT_EQ(map.Mode("Data"), NA);
    EXPECT_EQ(map.Mode("R"), NA);
    uint8_t buffer[] = {9, 1, 2, 9};
    port.AttachChunk(buffer, 1, 2, /*Cache=*/true);
    EXPECT_EQ(map.Mode("Data"), RW);
    EXPECT_EQ(map.Mode("R"), RW);
    map.Integer("Feature").SetValue(0x0403);
    EXPECT_EQ(buffer[1], 3);
    EXPECT_EQ(buffer[2], 4);
    buffer[1] = 7;
    EXPECT_EQ(map.Integer("Feature").GetValue(false, /*IgnoreCache=*/true), 0x0407)
        << "without a word of the description nothing is copied";
    port.DetachChunk();
    EXPECT_EQ(map.Mode("Data"), NA);
    EXPECT_THROW(map.Integer("Feature").SetValue(1), GenICam::AccessException);
    EXPECT_THROW(map.Integer("Feature").GetValue(), GenICam::AccessException);
}

TEST(ChunkData, TellOfEveryChange) {
    DataMap map({{"ChunkID", "0A", ""}});
    CChunkPort port(&map.Port());
    Watch watch(map.Node("Feature"));
    uint8_t first[] = {1, 0};
    uint8_t second[] = {2, 0};
    port.AttachChunk(first, 0, 2, false);
    EXPECT_EQ(watch.calls, 1);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 1);
    port.AttachChunk(second, 0, 2, false);
    EXPECT_EQ(watch.calls, 2);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 2) << "the last one stays attached";
    port.UpdateBuffer(first);
    EXPECT_EQ(watch.calls, 3);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 1);
    port.DetachChunk();
    EXPECT_EQ(watch.calls, 4);
}

TEST(ChunkData, AreCopiedAnewFromTheNextBuffer) {
    DataMap map({{"ChunkID", "0A", ""}, {"CacheChunkData", "Yes", ""}});
    CChunkPort port(&map.Port());
    uint8_t first[] = {1, 0};
    uint8_t second[] = {2, 0};
    port.AttachChunk(first, 0, 2, /*Cache=*/true);
    port.UpdateBuffer(second);
    second[0] = 3;
    EXPECT_EQ(map.Integer("Feature").GetValue(), 2);
    port.AttachChunk(first, 0, 2, /*Cache=*/false);
    first[0] = 4;
    EXPECT_EQ(map.Integer("Feature").GetValue(false, true), 4);
}

TEST(ChunkData, AreFoundByIdsOfAnyCase) {
    DataMap map({{"ChunkID", "00aBcD", ""}});
    CChunkPort port(&map.Port());
    uint8_t id[] = {0, 0, 0xAB, 0xCD};
    EXPECT_EQ(port.GetChunkIDLength(), 3);
    EXPECT_TRUE(port.CheckChunkID(id, 4));
    EXPECT_TRUE(port.CheckChunkID(0xABCD));
}

TEST(EventData, AreForReadingAlone) {
    DataMap map({{"EventID", "9C43", ""}});
    CEventAdapterGeneric adapter(&map);
    EXPECT_EQ(map.Mode("R"), NA);
    const uint8_t data[] = {1, 2};
    adapter.DeliverMessage(data, 2, 0x9C43);
    EXPECT_EQ(map.Mode("Data"), RO);
    EXPECT_EQ(map.Mode("R"), RO);
    EXPECT_EQ(map.Integer("R").GetValue(), 0x0201);
    EXPECT_THROW(map.Integer("R").SetValue(1), GenICam::AccessException);
    EXPECT_THROW(map.Integer("R").SetValue(1, /*Verify=*/false), GenICam::AccessException);
}

TEST(EventData, StayUntilTheNextEventOfTheSameId) {
    DataMap map({{"EventID", "01", ""}});
    CEventAdapterGeneric adapter(&map);
    const uint8_t data[] = {1, 0};
    const uint8_t other[] = {2, 0};
    adapter.DeliverMessage(data, 2, 0x01);
    adapter.DeliverMessage(other, 2, 0x02);
    EXPECT_EQ(map.Integer("Feature").GetValue(false, /*IgnoreCache=*/true), 1);
    adapter.DeliverMessage(other, 2, 0x01);
    EXPECT_EQ(map.Integer("Feature").GetValue(), 2);
}

TEST(EventData, TellTheDependentsOfOrdinaryNodesToo) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"EventID", "9C43", ""}});
    map.Add("Integer", "Upon", {{"pValue", "R", ""}}).Ready();
    CEventAdapterGeneric adapter(&map);
    Watch watch(map.Node("Upon"), cbPostOutsideLock);
    map.Integer("Upon").GetValue();
    map.port.Put(0, {5});
    adapter.DeliverMessage(nullptr, 0, 0x9C43);
    EXPECT_EQ(watch.calls, 1);
    EXPECT_EQ(map.Integer("Upon").GetValue(), 5);
    EXPECT_EQ(map.Mode("R"), RW) << "an ordinary node keeps its port";
}

TEST(PropertiesInCode, AreGatheredInListsAndReplacedOtherwise) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "1", ""}, {"Value", "2", ""}});
    map.Add("Integer", "B", {{"Value", "3", ""}});
    map.Add("Category", "Root", {{"pFeature", "A", ""}, {"pFeature", "B", ""}});
    map.Add("Integer", "S", {{"Value", "0", ""}, {"pSelected", "A", ""}, {"pSelected", "B", ""}});
    map.Add("Register", "R",
            {{"pPort", "Device", ""},
             {"Length", "4", ""},
             {"Address", "4", ""},
             {"Address", "8", ""},
             {"pAddress", "A", ""},
             {"pAddress", "B", ""}});
    map.Ready();
    EXPECT_EQ(map.Integer("A").GetValue(), 2);
    EXPECT_EQ(map.As<IRegister>("R").GetAddress(), 17);
    FeatureList_t features;
    map.As<ICategory>("Root").GetFeatures(features);
    EXPECT_EQ(features.size(), 2u);
    map.As<ISelector>("S").GetSelectedFeatures(features);
    EXPECT_EQ(features.size(), 2u);
    GenICam::gcstring value;
    GenICam::gcstring attribute;
    ASSERT_TRUE(map.Node("R").GetProperty("Address", value, attribute));
    EXPECT_EQ(value, "4\t8");
}

TEST(PropertiesInCode, TakeWhatPreprocessingWouldProduce) {
    TestMap map;
    map.Add("Integer", "Hidden", {{"Value", "1", ""}, {"IsFeature", "No", ""}});
    map.Add("Integer", "Shown", {{"Value", "1", ""}, {"IsFeature", "Yes", ""}});
    map.Add("Integer", "Told", {{"Value", "1", ""}});
    map.Add("Integer", "Selected", {{"Value", "1", ""}, {"pSelecting", "Shown", ""}});
    map.Add("Integer", "Source", {{"Value", "1", ""}, {"pDependent", "Told", ""}, {"pTerminal", "Hidden", ""}});
    map.Add("Category", "Root", {{"pFeature", "Hidden", ""}, {"pFeature", "Told", ""}}).Ready();
    EXPECT_FALSE(map.Node("Hidden").IsFeature()) << "what is said counts more than what is found";
    EXPECT_TRUE(map.Node("Shown").IsFeature());
    EXPECT_TRUE(map.Node("Told").IsFeature());
    Watch watch(map.Node("Told"));
    map.Integer("Source").SetValue(2);
    EXPECT_EQ(watch.calls, 1);
    FeatureList_t features;
    map.As<ISelector>("Shown").GetSelectedFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0]->GetNode(), &map.Node("Selected"));
    NodeList_t terminals;
    map.Node("Source").GetChildren(terminals, ctTerminalNodes);
    EXPECT_EQ(terminals.size(), 2u);
}
