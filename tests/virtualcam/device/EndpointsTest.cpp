// Endpoints by number and direction, by role, and what keeps them from answering.

#include <gtest/gtest.h>

#include "virtualcam/device/Protocol.h"
#include "virtualcam/device/endpoint/EndpointMap.h"
#include "virtualcam/device/endpoint/EndpointSet.h"
#include "virtualcam/device/endpoint/EndpointStates.h"

namespace {

using virtualcam::EndpointMap;
using virtualcam::EndpointSet;
using virtualcam::EndpointStates;

TEST(EndpointSet, TellsDirectionsOfOneNumberApart) {
    EndpointSet set;
    set.Add(0x81);
    EXPECT_TRUE(set.Has(0x81));
    EXPECT_FALSE(set.Has(0x01));
    set.Remove(0x01);
    EXPECT_FALSE(set.IsEmpty());
    set.Remove(0x81);
    EXPECT_TRUE(set.IsEmpty());
}

TEST(EndpointSet, GivesAllOfItOutFirstThenIn) {
    EndpointSet set;
    set.Add(0x8F);
    set.Add(0x80);
    set.Add(0x0F);
    EndpointSet more;
    more.Add(0x01);
    set.Add(more);
    for (const int endpoint : {0x01, 0x0F, 0x80, 0x8F})
        EXPECT_EQ(set.TakeFirst(), endpoint);
    EXPECT_TRUE(set.IsEmpty());
}

TEST(EndpointMap, HasARoleForEachStream) {
    const EndpointMap one(/*streams=*/1, /*isApart=*/false);
    EXPECT_EQ(one.Roles(), (std::vector<std::uint8_t>{0x01, 0x81, 0x82, 0x83}));
    EXPECT_FALSE(one.HasRole(0x85));
    const EndpointMap two(/*streams=*/2, /*isApart=*/false);
    EXPECT_TRUE(two.HasRole(0x85));
}

TEST(EndpointMap, CallsRolesByTheirAddressesUnlessTheNumbersAreApart) {
    const EndpointMap same(1, /*isApart=*/false);
    EXPECT_EQ(same.RoleOf(0x81), 0x81);
    EXPECT_EQ(same.AddressOf(0x81), 0x81);
    EXPECT_FALSE(same.HasRole(same.RoleOf(0x84)));

    const EndpointMap apart(1, /*isApart=*/true);
    EXPECT_EQ(apart.RoleOf(0x84), 0x81);
    EXPECT_EQ(apart.AddressOf(0x81), 0x84);
    EXPECT_FALSE(apart.HasRole(apart.RoleOf(0x81))) << "nothing has that address";
    EXPECT_EQ(apart.RoleOf(0x83), 0x83);
    EXPECT_EQ(apart.AddressOf(0x01), 0x01);
}

TEST(EndpointStates, HaltUntilCleared) {
    EndpointStates states;
    states.Halt(0x81);
    states.Halt(0x83);
    EXPECT_TRUE(states.IsHalted(0x81));
    EXPECT_FALSE(states.IsHalted(0x01));
    states.ClearHalt(0x81);
    EXPECT_FALSE(states.IsHalted(0x81));
    EXPECT_TRUE(states.IsHalted(0x83));
    states.ClearHalts();
    EXPECT_FALSE(states.IsHalted(0x83));
}

TEST(EndpointStates, AreSilentWhileMuteOrChoked) {
    EndpointStates states;
    EXPECT_FALSE(states.IsSilent(0x83));
    states.SetMute(0x83, true);
    states.SetChoked(0x83, true);
    states.SetMute(0x83, false);
    EXPECT_TRUE(states.IsSilent(0x83)) << "choked still";
    EXPECT_FALSE(states.IsSilent(0x85));
    EXPECT_FALSE(states.IsHalted(0x83));
    states.SetChoked(0x83, false);
    EXPECT_FALSE(states.IsSilent(0x83));
}

} // namespace
