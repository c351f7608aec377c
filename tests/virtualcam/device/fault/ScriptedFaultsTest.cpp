#include "virtualcam/device/ScriptedFaults.h"

#include <gtest/gtest.h>

namespace {

using virtualcam::FaultScript;
using virtualcam::ScriptedFaults;
using virtualcam::Status;

TEST(ScriptedFaults, AreCountedDown) {
    FaultScript script;
    script.refuseOpens = 2;
    script.refuseClaims = 1;
    ScriptedFaults faults(script);
    EXPECT_TRUE(faults.RefusesOpen());
    EXPECT_TRUE(faults.RefusesOpen());
    EXPECT_FALSE(faults.RefusesOpen());
    EXPECT_TRUE(faults.RefusesClaim());
    EXPECT_FALSE(faults.RefusesClaim());
}

TEST(ScriptedFaults, RefuseAStreamWithTheScriptedStatus) {
    FaultScript script;
    script.refuseStreamEnable = 1;
    script.streamEnableStatus = 0x8006;
    ScriptedFaults faults(script);
    EXPECT_EQ(faults.RefusesStream(), Status::AccessDenied);
    EXPECT_FALSE(faults.RefusesStream());
}

TEST(ScriptedFaults, GiveAStreamItsRulesAndThoseOfAll) {
    FaultScript script;
    script.stream.resize(3);
    script.stream[0].stream = 1;
    script.stream[0].value = 10;
    script.stream[1].value = 11;
    script.stream[2].stream = 0;
    const ScriptedFaults faults(script);
    const auto rules = faults.OfStream(1);
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_EQ(rules[0].value, 10u);
    EXPECT_EQ(rules[1].value, 11u);
}

TEST(ScriptedFaults, EndTheRulesOfChannelsButNoCounts) {
    FaultScript script;
    script.stream.resize(1);
    script.control.resize(1);
    script.events.resize(1);
    script.refuseOpens = 1;
    ScriptedFaults faults(script);
    faults.EndRules();
    EXPECT_TRUE(faults.OfStream(0).empty());
    EXPECT_TRUE(faults.Script().control.empty());
    EXPECT_TRUE(faults.Script().events.empty());
    EXPECT_TRUE(faults.RefusesOpen());
}

TEST(ScriptedFaults, LeadBackToTheBusAtOnceLaterOrNever) {
    FaultScript script;
    EXPECT_FALSE(ScriptedFaults(script).ReplugPause());
    script.replugAfterMs = 0;
    EXPECT_EQ(ScriptedFaults(script).ReplugPause(), std::chrono::milliseconds(0));
    script.replugAfterMs = 20;
    EXPECT_EQ(ScriptedFaults(script).ReplugPause(), std::chrono::milliseconds(20));
}

} // namespace
