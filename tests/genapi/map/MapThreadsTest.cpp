// Many threads on one map.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace GenApi;
using genapi_test::TestMap;

TEST(MapThreads, AskForEverythingThatIsMadeWhenFirstAskedFor) {
    TestMap map;
    map.Add("Integer", "Selector", {{"Value", "0", ""}, {"Max", "3", ""}, {"Min", "0", ""}, {"pSelected", "Gain", ""}});
    map.AddRegister("IntReg", "Reg", "0", {{"pIndex", "Selector", "4"}});
    map.Add("IntConverter", "Converted",
            {{"pValue", "Reg", ""}, {"FormulaFrom", "TO * 2", ""}, {"FormulaTo", "FROM / 2", ""}});
    map.Add("Integer", "Gain", {{"pValue", "Converted", ""}, {"Streamable", "Yes", ""}});
    map.AddRegister("MaskedIntReg", "Bits", "8", {{"LSB", "0", ""}, {"MSB", "3", ""}});
    map.Add("Category", "Root", {{"pFeature", "Gain", ""}}).Ready();
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 10; ++number) {
        threads.emplace_back([&map, &failures, number] {
            for (int round = 0; round < 50; ++round) {
                NodeList_t parents;
                map.Node("Reg").GetParents(parents);
                FeatureList_t selecting;
                map.As<ISelector>("Gain").GetSelectingFeatures(selecting);
                if (parents.size() != 1 || selecting.size() != 1) ++failures;
                map.Integer("Gain").SetValue(2 * number);
                map.Integer("Bits").SetValue(number);
                map.Value("Gain").IsValueCacheValid();
                map.Node("Gain").GetCachingMode();
                map.Node("Selector").ImposeAccessMode(round % 2 ? RO : RW); // nobody writes it
                map.Node("Selector").ImposeAccessMode(RW);
                map.Node("Gain").ImposeVisibility(round % 2 ? Guru : Expert);
                if (map.Node("Gain").GetVisibility() == Beginner) ++failures;
                map.InvalidateNodes();
                CFeatureBag bag;
                bag.StoreToBag(&map);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
}

TEST(MapThreads, ShareOneMap) {
    TestMap map;
    map.Add("Integer", "Selector", {{"Value", "0", ""}, {"Max", "3", ""}, {"Min", "0", ""}});
    map.AddRegister("IntReg", "Reg", "0", {{"pIndex", "Selector", "4"}});
    map.Add("Integer", "Gain", {{"pValue", "Reg", ""}, {"pIsLocked", "Lock", ""}});
    map.Add("IntSwissKnife", "Lock", {{"pVariable", "Selector", "S"}, {"Formula", "S = 3", ""}});
    map.AddRegister("MaskedIntReg", "Bits", "100", {{"LSB", "0", ""}, {"MSB", "3", ""}, {"PollingTime", "1", ""}});
    map.AddRegister("StringReg", "Text", "200", {{"Length", "16", ""}}).Ready();
    std::atomic<int> calls{0};
    Register(&map.Node("Gain"), [&](INode*) { ++calls; });
    std::vector<std::thread> threads;
    for (int number = 0; number < 10; ++number) {
        threads.emplace_back([&map, &calls, number] {
            for (int round = 0; round < 200; ++round) {
                map.Integer("Selector").SetValue((round + number) % 4);
                map.Integer("Gain").GetValue();
                map.Node("Gain").GetAccessMode();
                map.Integer("Bits").SetValue(round % 16);
                map.As<IString>("Text").SetValue("thread");
                map.Value("Text").ToString(true, true);
                const CallbackHandleType handle = Register(
                    &map.Node("Bits"), [&calls](INode*) { ++calls; }, cbPostOutsideLock);
                map.Node("Bits").InvalidateNode();
                Deregister(handle);
                map.Poll(1);
                NodeList_t nodes;
                map.Node("Selector").GetChildren(nodes, ctDependingNodes);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(calls.load(), 2000);
    EXPECT_EQ(map.As<IString>("Text").GetValue(), "thread");
}
