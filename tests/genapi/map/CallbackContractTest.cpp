// Callbacks that register, deregister and write while a round of callbacks runs.
#include "genapi/support/TestMap.h"
#include "genapi/support/Watch.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::IsLockFree;
using genapi_test::TestMap;
using genapi_test::Watch;

namespace {

class TwoNumbers : public TestMap {
public:
    TwoNumbers() {
        Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}});
        Add("Integer", "OfA", {{"pValue", "A", ""}}).Ready();
    }
};

} // namespace

TEST(CallbackContract, WhatIsRegisteredDuringARoundWaitsForTheNext) {
    TwoNumbers map;
    int late = 0;
    CallbackHandleType handle = 0;
    Register(&map.Node("A"), [&](INode* pNode) {
        if (!handle) handle = Register(pNode, [&late](INode*) { ++late; });
    });
    map.Integer("A").SetValue(1);
    EXPECT_EQ(late, 0);
    map.Integer("A").SetValue(2);
    EXPECT_EQ(late, 1);
}

TEST(CallbackContract, ANewCallbackIsNotTakenForTheOneThatLayAtItsAddress) {
    TwoNumbers map;
    int late = 0;
    CallbackHandleType victim = 0;
    bool isDone = false;
    Register(&map.Node("A"), [&](INode* pNode) {
        if (isDone) return;
        isDone = true;
        Deregister(victim);
        // The heap gives the same room again, sooner or later.
        for (int i = 0; i < 32; ++i)
            Register(pNode, [&late](INode*) { ++late; });
    });
    victim = Register(&map.Node("A"), [&late](INode*) { ++late; });
    map.Integer("A").SetValue(1);
    EXPECT_EQ(late, 0);
    map.Integer("A").SetValue(2);
    EXPECT_EQ(late, 32);
}

TEST(CallbackContract, AWriteFromAnInsideCallbackIsAnOperationOfItsOwn) {
    TwoNumbers map;
    std::string order;
    Register(&map.Node("A"), [&](INode*) {
        map.Integer("B").SetValue(1);
        order += "a ";
    });
    Register(&map.Node("OfA"), [&](INode*) { order += "ofA "; });
    Register(&map.Node("B"), [&](INode*) { order += "b "; });
    Register(
        &map.Node("B"), [&](INode*) { order += IsLockFree(map) ? "bFree " : "bHeld "; }, cbPostOutsideLock);
    map.Integer("A").SetValue(1);
    EXPECT_EQ(order, "b a ofA bFree ");
}

TEST(CallbackContract, AWriteFromAnOutsideCallbackFindsTheLockFreeAgain) {
    TwoNumbers map;
    std::string order;
    Register(
        &map.Node("A"), [&](INode*) { map.Integer("B").SetValue(1); }, cbPostOutsideLock);
    Register(
        &map.Node("B"), [&](INode*) { order += IsLockFree(map) ? "free" : "held"; }, cbPostOutsideLock);
    map.Integer("A").SetValue(1);
    EXPECT_EQ(order, "free");
}

TEST(CallbackContract, AnOutsideCallbackMayBeDeregisteredByAnInsideOne) {
    TwoNumbers map;
    int calls = 0;
    const CallbackHandleType outside = Register(
        &map.Node("A"), [&](INode*) { ++calls; }, cbPostOutsideLock);
    Register(&map.Node("A"), [&](INode*) { Deregister(outside); });
    map.Integer("A").SetValue(1);
    EXPECT_EQ(calls, 0);
}

TEST(CallbackContract, AnExceptionOfAnOutsideCallbackFindsTheLockFree) {
    TwoNumbers map;
    Register(
        &map.Node("A"), [](INode*) { throw std::runtime_error("stop"); }, cbPostOutsideLock);
    EXPECT_THROW(map.Integer("A").SetValue(1), std::runtime_error);
    EXPECT_TRUE(IsLockFree(map));
    EXPECT_EQ(map.Integer("A").GetValue(), 1);
}

TEST(CallbackContract, AWriteToTheNodeItselfEndsWhenTheCallbackStopsWriting) {
    TwoNumbers map;
    std::vector<int64_t> seen;
    Register(&map.Node("A"), [&](INode*) {
        const int64_t value = map.Integer("A").GetValue();
        if (value < 3) map.Integer("A").SetValue(value + 1);
        seen.push_back(map.Integer("A").GetValue());
    });
    map.Integer("A").SetValue(1);
    EXPECT_EQ(seen, (std::vector<int64_t>{3, 3, 3}));
}

TEST(CallbackContract, ABagCallsOutsideCallbacksOnceAfterItsLastLine) {
    TestMap map;
    map.Add("Integer", "Selector", {{"Value", "0", ""}, {"Min", "0", ""}, {"Max", "2", ""}, {"pSelected", "Gain", ""}});
    map.AddRegister("IntReg", "Reg", "0", {{"pIndex", "Selector", "4"}});
    map.Add("Integer", "Gain", {{"pValue", "Reg", ""}, {"Streamable", "Yes", ""}}).Ready();
    Watch inside(map.Node("Selector"));
    std::string order;
    Register(
        &map.Node("Selector"), [&](INode*) { order += IsLockFree(map) ? "free " : "held "; }, cbPostOutsideLock);
    CFeatureBag bag;
    EXPECT_TRUE(bag.StoreToBag(&map));
    EXPECT_EQ(order, "free ");
    EXPECT_GE(inside.calls, 3) << "one for each move of the selector";
    order.clear();
    EXPECT_TRUE(bag.LoadFromBag(&map));
    EXPECT_EQ(order, "free ");
    EXPECT_TRUE(IsLockFree(map));
}
