// Who is told when something changes.
#include "genapi/support/TestMap.h"
#include "genapi/support/Watch.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::IsLockFree;
using genapi_test::TestMap;
using genapi_test::Watch;

TEST(Invalidation, FollowsInvalidators) {
    TestMap map;
    map.AddRegister("IntReg", "B", "8");
    map.AddRegister("IntReg", "A", "0", {{"pInvalidator", "B", ""}}).Ready();
    map.Integer("A").GetValue();
    map.Integer("B").SetValue(1);
    map.Integer("A").GetValue();
    EXPECT_EQ(map.port.reads, 2);
}

TEST(Invalidation, RereadsARegisterThatReachesItselfThroughInvalidators) {
    TestMap map;
    map.AddRegister("IntReg", "A", "0", {{"pInvalidator", "B", ""}});
    map.AddRegister("IntReg", "B", "8", {{"pInvalidator", "A", ""}});
    map.AddRegister("IntReg", "Self", "16", {{"pInvalidator", "Self", ""}}).Ready();
    map.Integer("A").SetValue(1);
    map.Integer("A").GetValue();
    EXPECT_EQ(map.port.reads, 1);
    map.Integer("Self").SetValue(1);
    map.Integer("Self").GetValue();
    EXPECT_EQ(map.port.reads, 2);
}

TEST(Invalidation, KeepsWhatWasWrittenWhenACircleHasNoInvalidator) {
    TestMap map;
    map.AddRegister("IntReg", "Width", "0", {{"pIsLocked", "Lock", ""}});
    map.Add("IntSwissKnife", "Lock", {{"pVariable", "Width", "W"}, {"Formula", "W > 100", ""}}).Ready();
    map.Integer("Width").SetValue(1);
    const int reads = map.port.reads;
    EXPECT_EQ(map.Integer("Width").GetValue(), 1);
    EXPECT_EQ(map.port.reads, reads);
}

TEST(Invalidation, GoesThroughLimitsFormulasAndSelectors) {
    TestMap map;
    map.Add("Integer", "Max", {{"Value", "10", ""}});
    map.Add("IntSwissKnife", "Twice", {{"pVariable", "Max", "M"}, {"Formula", "2*M", ""}});
    map.Add("Integer", "Limited", {{"Value", "0", ""}, {"pMax", "Twice", ""}});
    map.Add("Integer", "Selector", {{"Value", "0", ""}, {"pSelected", "Gain", ""}});
    map.AddRegister("IntReg", "Gain", "0").Ready();
    Watch limited(map.Node("Limited"));
    Watch gain(map.Node("Gain"));
    map.Integer("Max").SetValue(20);
    EXPECT_EQ(limited.calls, 1);
    EXPECT_EQ(map.Integer("Limited").GetMax(), 40);
    map.Integer("Gain").GetValue();
    map.Integer("Selector").SetValue(1);
    EXPECT_EQ(gain.calls, 1);
    map.Integer("Gain").GetValue();
    EXPECT_EQ(map.port.reads, 2);
    FeatureList_t features;
    map.As<ISelector>("Selector").GetSelectedFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "Gain");
    map.As<ISelector>("Gain").GetSelectingFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_TRUE(map.As<ISelector>("Selector").IsSelector());
    EXPECT_FALSE(map.As<ISelector>("Gain").IsSelector());
}

TEST(Invalidation, OfAPortReachesAllItsRegisters) {
    TestMap map;
    map.AddRegister("IntReg", "A", "0").Ready();
    map.Integer("A").GetValue();
    Watch watch(map.Node("A"));
    map.Connect(&map.port);
    EXPECT_EQ(watch.calls, 1);
    map.Integer("A").GetValue();
    EXPECT_EQ(map.port.reads, 2);
}

TEST(Invalidation, OfEverythingFiresEveryCallbackOnceAndKeepsHeldValues) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "5", ""}});
    map.AddRegister("IntReg", "A", "0", {{"pInvalidator", "I", ""}}).Ready();
    map.Integer("A").GetValue();
    Watch first(map.Node("I"));
    Watch second(map.Node("A"), cbPostOutsideLock);
    map.InvalidateNodes();
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 1);
    EXPECT_EQ(map.Integer("I").GetValue(), 5);
    EXPECT_FALSE(map.Value("A").IsValueCacheValid());
    EXPECT_EQ(map.port.reads, 1) << "invalidating reads nothing";
}

TEST(Callbacks, RunInsideTheLockFirstAndOutsideAfterIt) {
    TestMap map;
    map.Add("Integer", "N", {{"Value", "0", ""}}).Add("Integer", "M", {{"pValue", "N", ""}}).Ready();
    std::string order;
    const auto note = [&](const char* text) {
        return [&map, &order, text](INode*) { order += std::string(text) + (IsLockFree(map) ? "free " : "held "); };
    };
    Register(&map.Node("N"), note("out:"), cbPostOutsideLock);
    Register(&map.Node("M"), note("deep:"));
    Register(&map.Node("N"), note("in:"));
    map.Integer("N").SetValue(1);
    EXPECT_EQ(order, "in:held deep:held out:free ");
}

TEST(Callbacks, FireThoughTheValueIsTheSameAndNotForReads) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0").Ready();
    Watch watch(map.Node("R"));
    map.Integer("R").GetValue();
    EXPECT_EQ(watch.calls, 0);
    map.Integer("R").SetValue(1);
    map.Integer("R").SetValue(1);
    EXPECT_EQ(watch.calls, 2);
    EXPECT_EQ(map.port.writes, 2) << "a write always goes to the device";
}

TEST(Callbacks, FireOnceForWhatIsReachedOnManyRoads) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}});
    map.Add("Integer", "Both", {{"pValue", "A", ""}, {"pValueCopy", "B", ""}, {"pInvalidator", "A", ""}}).Ready();
    Watch watch(map.Node("Both"));
    map.Integer("Both").SetValue(3);
    EXPECT_EQ(watch.calls, 1);
}

TEST(Callbacks, AreSilentAfterAFailedWrite) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0").Ready();
    Watch watch(map.Node("R"));
    map.port.failure = "cable";
    EXPECT_THROW(map.Integer("R").SetValue(1), GenICam::RuntimeException);
    EXPECT_EQ(watch.calls, 0);
}

TEST(Callbacks, MayWriteOtherNodes) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}}).Ready();
    Register(&map.Node("A"), [&](INode*) { map.Integer("B").SetValue(map.Integer("A").GetValue() + 1); });
    Watch inside(map.Node("B"));
    bool wasFree = false;
    Register(
        &map.Node("B"), [&](INode*) { wasFree = IsLockFree(map); }, cbPostOutsideLock);
    map.Integer("A").SetValue(5);
    EXPECT_EQ(map.Integer("B").GetValue(), 6);
    EXPECT_EQ(inside.calls, 1);
    EXPECT_TRUE(wasFree) << "an outside callback of the inner write waits for the outer lock's release";
}

TEST(Callbacks, PassTheirExceptionsToTheWriterAndLeaveTheLock) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Ready();
    const CallbackHandleType handle = Register(&map.Node("A"), [](INode*) { throw std::runtime_error("mine"); });
    Watch later(map.Node("A"));
    EXPECT_THROW(map.Integer("A").SetValue(1), std::runtime_error);
    EXPECT_EQ(map.Integer("A").GetValue(), 1) << "the write has happened";
    EXPECT_EQ(later.calls, 0);
    EXPECT_TRUE(IsLockFree(map));
    Deregister(handle);
    map.Integer("A").SetValue(2);
    EXPECT_EQ(later.calls, 1);
}

TEST(Callbacks, MayDeregisterThemselvesAndOthers) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Ready();
    CallbackHandleType own = 0;
    CallbackHandleType other = 0;
    int calls = 0;
    int otherCalls = 0;
    const std::string captured(100, 'x');
    own = Register(&map.Node("A"), [&, captured](INode*) {
        EXPECT_TRUE(Deregister(own));
        EXPECT_TRUE(Deregister(other));
        calls += captured.size() == 100;
    });
    other = Register(&map.Node("A"), [&](INode*) { ++otherCalls; });
    map.Integer("A").SetValue(1);
    map.Integer("A").SetValue(2);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(otherCalls, 0);
}

TEST(Callbacks, AreDestroyedWithTheirMap) {
    const auto pToken = std::make_shared<int>(1);
    CallbackHandleType handle = 0;
    {
        TestMap map;
        map.Add("Integer", "A", {{"Value", "0", ""}}).Ready();
        handle = Register(&map.Node("A"), [pToken](INode*) {});
        EXPECT_EQ(pToken.use_count(), 2);
    }
    EXPECT_EQ(pToken.use_count(), 1);
    EXPECT_FALSE(Deregister(handle));
    EXPECT_FALSE(Deregister(0));
}

TEST(Callbacks, AreGivenBackByTheirNode) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}}).Ready();
    const CallbackHandleType handle = Register(&map.Node("A"), [](INode*) {});
    EXPECT_FALSE(map.Node("B").DeregisterCallback(handle));
    EXPECT_TRUE(map.Node("A").DeregisterCallback(handle));
    EXPECT_FALSE(map.Node("A").DeregisterCallback(handle));
    EXPECT_TRUE(Deregister(handle)) << "destroys it";
}

TEST(Polling, CountsForEachNodeAndStartsAgain) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"PollingTime", "1000", ""}});
    map.Add("Integer", "I", {{"pValue", "R", ""}});
    map.AddRegister("IntReg", "Never", "8", {{"PollingTime", "0", ""}}).Ready();
    Watch watch(map.Node("I"), cbPostOutsideLock);
    Watch never(map.Node("Never"));
    map.Integer("I").GetValue();
    map.Poll(400);
    map.Poll(400);
    EXPECT_EQ(watch.calls, 0);
    map.Poll(400);
    EXPECT_EQ(watch.calls, 1);
    map.Poll(400);
    EXPECT_EQ(watch.calls, 1);
    map.Poll(INT64_MAX);
    EXPECT_EQ(watch.calls, 2);
    EXPECT_EQ(never.calls, 0);
    EXPECT_EQ(map.port.reads, 1) << "polling reads nothing";
    EXPECT_EQ(map.Node("I").GetPollingTime(), 1000);
    EXPECT_EQ(map.Node("Device").GetPollingTime(), -1);
}

TEST(Polling, IsDueWhenThePeriodIsOverAndNotBefore) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"PollingTime", "1000", ""}}).Ready();
    Watch watch(map.Node("R"));
    map.Poll(999);
    EXPECT_EQ(watch.calls, 0);
    map.Poll(1);
    EXPECT_EQ(watch.calls, 1);
}

TEST(Polling, WaitsWhileItIsBlocked) {
    TestMap map;
    map.Add("Integer", "Block", {{"Value", "1", ""}});
    map.AddRegister("IntReg", "R", "0", {{"PollingTime", "100", ""}, {"pBlockPolling", "Block", ""}}).Ready();
    Watch watch(map.Node("R"));
    map.Poll(150);
    EXPECT_EQ(watch.calls, 0);
    map.Integer("Block").SetValue(0);
    map.Poll(1);
    EXPECT_EQ(watch.calls, 1);
}

TEST(Links, AreToldByKind) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"Cachable", "WriteAround", ""}});
    map.Add("Integer", "I", {{"pValue", "R", ""}, {"pAlias", "R", ""}, {"ToolTip", "tip", ""}});
    map.Add("Integer", "J", {{"Value", "0", ""}, {"pInvalidator", "I", ""}, {"pCastAlias", "R", ""}}).Ready();
    NodeList_t nodes;
    map.Node("I").GetChildren(nodes);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("R")});
    map.Node("I").GetChildren(nodes, ctTerminalNodes);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("R")});
    map.Node("R").GetChildren(nodes, ctDependingNodes);
    EXPECT_EQ(nodes, (NodeList_t{&map.Node("I"), &map.Node("J")}));
    map.Node("J").GetChildren(nodes, ctInvalidatingChildren);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("I")});
    map.Node("R").GetParents(nodes);
    EXPECT_EQ(nodes, NodeList_t{&map.Node("I")});
    EXPECT_EQ(map.Node("I").GetAlias(), &map.Node("R"));
    EXPECT_EQ(map.Node("J").GetCastAlias(), &map.Node("R"));
    EXPECT_EQ(map.Node("J").GetAlias(), nullptr);
    EXPECT_EQ(map.Node("I").GetCachingMode(), WriteAround);
    GenICam::gcstring value;
    GenICam::gcstring attribute;
    EXPECT_TRUE(map.Node("I").GetProperty("ToolTip", value, attribute));
    EXPECT_EQ(value, "tip");
    EXPECT_FALSE(map.Node("I").GetProperty("Value", value, attribute));
    GenICam::gcstring_vector names;
    map.Node("I").GetPropertyNames(names);
    EXPECT_EQ(names, (GenICam::gcstring_vector{"pValue", "pAlias", "ToolTip"}));
}
