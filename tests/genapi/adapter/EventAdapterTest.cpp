// Events as features.
#include "genapi/support/TestMap.h"
#include "genapi/support/Watch.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::TestMap;
using genapi_test::Watch;

namespace {

class EventMap : public TestMap {
public:
    EventMap() {
        Add("Port", "EventPort", {{"EventID", "9C43", ""}});
        Add("IntReg", "Stamp", {{"pPort", "EventPort", ""}, {"Address", "4", ""}, {"Length", "8", ""}});
        Add("Integer", "Feature", {{"pValue", "Stamp", ""}, {"EventID", "9C43", ""}});
        Add("Integer", "Plain", {{"Value", "1", ""}, {"EventID", "9C43", ""}}).Ready();
        for (uint8_t i = 0; i < 20; ++i)
            data[i] = i;
    }
    uint8_t data[20];
};

} // namespace

TEST(EventAdapter, MakesTheBytesOfAnEventReadable) {
    EventMap map;
    CEventAdapterGeneric adapter(&map);
    EXPECT_EQ(map.Mode("Stamp"), NA);
    adapter.DeliverMessage(map.data, 20, 0x9C43);
    EXPECT_EQ(map.Mode("Stamp"), RO);
    EXPECT_EQ(map.Integer("Stamp").GetValue(), 0x0B0A090807060504);
    map.data[4] = 99;
    EXPECT_EQ(map.Integer("Stamp").GetValue(false, true), 0x0B0A090807060504) << "the bytes are copied";
    adapter.DeliverMessage(map.data, 20, "9c43");
    EXPECT_EQ(map.Integer("Stamp").GetValue(), 0x0B0A090807060563);
}

TEST(EventAdapter, CallsEachCallbackOnceAnEvent) {
    std::string order; // outlives the adapter, whose end is told to the callbacks, too
    EventMap map;
    CEventAdapterGeneric adapter(&map);
    Register(
        &map.Node("Feature"), [&](INode*) { order += "out "; }, cbPostOutsideLock);
    Register(&map.Node("Feature"), [&](INode*) { order += "in "; });
    Register(&map.Node("Plain"), [&](INode*) { order += "plain "; });
    adapter.DeliverMessage(map.data, 20, 0x9C43);
    EXPECT_EQ(order, "in plain out ");
    adapter.DeliverMessage(map.data, 20, 0x9C44);
    EXPECT_EQ(order, "in plain out ") << "an ID that nobody has";
}

TEST(EventAdapter, RefusesReadsBeyondTheEvent) {
    EventMap map;
    CEventAdapterGeneric adapter(&map);
    adapter.DeliverMessage(map.data, 11, 0x9C43);
    EXPECT_THROW(map.Integer("Stamp").GetValue(), GenICam::OutOfRangeException);
    adapter.DeliverMessage(nullptr, 0, 0x9C43);
    EXPECT_THROW(map.Integer("Stamp").GetValue(), GenICam::OutOfRangeException);
    EXPECT_THROW(adapter.DeliverMessage(nullptr, 4, 0x9C43), GenICam::InvalidArgumentException);
}

TEST(EventAdapter, TellsNobodyBeforeThereAreData) {
    EventMap map;
    EXPECT_EQ(map.Mode("Stamp"), NI);
    Watch feature(map.Node("Feature"));
    Watch port(map.Node("EventPort"), cbPostOutsideLock);
    {
        CEventAdapterGeneric adapter(&map);
        EXPECT_EQ(map.Mode("Stamp"), NA) << "the change is seen though nobody was told";
    }
    EXPECT_EQ(feature.calls + port.calls, 0);
    EXPECT_EQ(map.Mode("Stamp"), NI);
}

TEST(EventAdapter, TellsThatTheDataAreGone) {
    EventMap map;
    Watch feature(map.Node("Feature"));
    {
        CEventAdapterGeneric adapter(&map);
        adapter.DeliverMessage(map.data, 20, 0x9C43);
        EXPECT_EQ(feature.calls, 1);
    }
    EXPECT_EQ(feature.calls, 2);
}

TEST(EventAdapter, NeedsAnIdAndAMap) {
    EventMap map;
    CEventAdapterGeneric adapter(&map);
    EXPECT_THROW(adapter.DeliverMessage(map.data, 20), GenICam::InvalidArgumentException);
    EXPECT_THROW(adapter.DeliverMessage(map.data, 20, "no id"), GenICam::InvalidArgumentException);
    adapter.DetachNodeMap();
    EXPECT_THROW(adapter.DeliverMessage(map.data, 20, 0x9C43), GenICam::LogicalErrorException);
    EXPECT_EQ(map.Mode("Stamp"), NI);
}

TEST(EventPort, ComparesIdsAsNumbers) {
    EventMap map;
    CEventPort port(&map.Node("EventPort"));
    uint8_t id[] = {0, 0x9C, 0x43};
    EXPECT_EQ(port.GetEventIDLength(), 2);
    EXPECT_TRUE(port.CheckEventID(id, 3));
    EXPECT_FALSE(port.CheckEventID(id, 2));
    EXPECT_FALSE(port.CheckEventID(id, -1));
    EXPECT_FALSE(port.AttachNode(&map.Node("Device")));
    EXPECT_FALSE(port.CheckEventID(0x9C43));
}

TEST(EventPort, LeavesBytesAloneThatAnAdapterGaveToAnother) {
    TestMap map;
    map.Add("Port", "FirstPort", {{"EventID", "0001", ""}});
    map.Add("Port", "SecondPort", {{"EventID", "0001", ""}});
    map.Add("IntReg", "First", {{"pPort", "FirstPort", ""}, {"Address", "0", ""}, {"Length", "1", ""}});
    map.Add("IntReg", "Second", {{"pPort", "SecondPort", ""}, {"Address", "0", ""}, {"Length", "1", ""}}).Ready();
    uint8_t seven = 7;
    uint8_t eight = 8;
    CEventAdapterGeneric adapter(&map);
    adapter.DeliverMessage(&seven, 1, 1);
    EXPECT_EQ(map.Integer("First").GetValue(), 7);
    EXPECT_EQ(map.Integer("Second").GetValue(), 7);
    CEventPort other(&map.Node("SecondPort"));
    other.AttachEvent(&eight, 1);
    EXPECT_EQ(map.Integer("First").GetValue(), 7);
    EXPECT_EQ(map.Integer("Second").GetValue(), 8);
    adapter.DeliverMessage(&eight, 1, 1);
    EXPECT_EQ(map.Integer("First").GetValue(), 8);
}

TEST(EventAdapter, ReadsIdsOnceAndTellsTheirNodesAllTheSame) {
    EventMap map;
    CEventAdapterGeneric adapter(&map);
    adapter.AttachNodeMap(&map);
    adapter.DeliverMessage(map.data, 20, 0x9C43);
    EXPECT_EQ(map.Mode("Stamp"), RO);
    adapter.DeliverMessage(map.data, 4, 0x1);
    EXPECT_EQ(map.Integer("Stamp").GetValue(), 0x0B0A090807060504) << "another event";
}
