#include "vexlo/stream/StreamRegisters.h"

#include "vexlo/stream/support/FakeCamera.h"

#include <gtest/gtest.h>

using namespace streamtest;
using namespace vexlo;

namespace {

using Writes = std::vector<FakeCamera::Write>;

class StreamRegistersTest : public testing::Test {
protected:
    StreamRegistersTest() {
        camera.Set(0x00, 0x0A000000); // alignment 1024
        camera.Set(0x08, 326680);
        camera.Set(0x10, 52);
        camera.Set(0x14, 32);
    }

    PacketBus bus;
    FakeCamera camera{bus};
    StreamRegisters registers{camera, bus, FakeCamera::Channel(1024)};
    u3v::TransferPlan plan;
};

TEST_F(StreamRegistersTest, PlanWhatTheCameraNeeds) {
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    EXPECT_EQ(plan.leaderSize, 1024u);
    EXPECT_EQ(plan.payloadSize, 65536u);
    EXPECT_EQ(plan.payloadCount, 4u);
    EXPECT_EQ(plan.final1Size, 64512u);
    EXPECT_EQ(plan.final2Size, 1024u);
    EXPECT_EQ(plan.trailerSize, 1024u);
    EXPECT_EQ(plan.requiredSize, 326680u);
    EXPECT_TRUE(camera.Writes().empty());
}

TEST_F(StreamRegistersTest, WriteThePlanInItsOrder) {
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    ASSERT_EQ(registers.Program(plan), VX_OK);
    EXPECT_EQ(camera.Writes(),
              (Writes{{0x18, 1024}, {0x1C, 65536}, {0x20, 4}, {0x24, 64512}, {0x28, 1024}, {0x2C, 1024}}));
}

TEST_F(StreamRegistersTest, SwitchOffAStreamThatStillRuns) {
    camera.Set(0x04, 1);
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    EXPECT_EQ(camera.Writes(), (Writes{{0x04, 0}}));
}

TEST_F(StreamRegistersTest, SelectTheStandardPayloadOfCamerasThatHaveOthers) {
    camera.Set(0x00, 0x0A000001);
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    EXPECT_EQ(camera.Writes(), (Writes{{0x34, 1}}));
}

TEST_F(StreamRegistersTest, RefuseAPayloadThatCannotBe) {
    camera.Set(0x08, 0);
    EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_E_PAYLOAD_SIZE);
    camera.Set(0x0C, 0x40000000); // 4 EiB
    EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_E_PAYLOAD_SIZE);
    camera.Set(0x0C, 0x100); // 1 TiB
    EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_E_PAYLOAD_SIZE);
    camera.Set(0x0C, 0);
    camera.Set(0x08, 0x40000000); // 1 GiB
    EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
}

TEST_F(StreamRegistersTest, PlanNoMoreThan65536Transfers) {
    camera.Set(0x08, 0x40000000);
    EXPECT_EQ(registers.MakePlan({16384, {}}, plan), VX_OK);
    EXPECT_EQ(plan.PayloadTransfers(), 65536u);
    camera.Set(0x08, 0x40000001);
    EXPECT_EQ(registers.MakePlan({16384, {}}, plan), VX_E_PAYLOAD_SIZE);
}

TEST_F(StreamRegistersTest, RefuseLeadersAndTrailersThatCannotBe) {
    for (const std::uint64_t offset : {0x10, 0x14}) {
        for (const std::uint32_t size : {0x10001u, 0x3FFFFC00u, 0xFFFFFFFFu}) {
            camera.Set(offset, size);
            EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_E_LEADER_SIZE) << offset << " " << size;
        }
        camera.Set(offset, 0x10000);
        EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    }
}

TEST_F(StreamRegistersTest, LeaveRoomWhereTheCameraDoesNotTell) {
    camera.Set(0x00, 0);
    camera.Set(0x10, 0);
    camera.Set(0x14, 0);
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    EXPECT_EQ(plan.leaderSize, 1024u);
    EXPECT_EQ(plan.trailerSize, 1024u);
}

TEST_F(StreamRegistersTest, PassOnWhatReadingSays) {
    for (const std::uint64_t offset : {0x04, 0x00, 0x08, 0x10, 0x14}) {
        camera.AnswerReads(offset, VX_E_TIMEOUT);
        EXPECT_EQ(registers.MakePlan({65536, {}}, plan), VX_E_TIMEOUT);
        camera.AnswerReads(offset, VX_OK);
    }
}

TEST_F(StreamRegistersTest, PassOnWhatWritingSays) {
    ASSERT_EQ(registers.MakePlan({65536, {}}, plan), VX_OK);
    for (const std::uint64_t offset : {0x18, 0x1C, 0x20, 0x24, 0x28, 0x2C}) {
        camera.AnswerWrites(offset, VX_E_DEVICE_STATUS_BASE | 0xA003);
        EXPECT_EQ(registers.Program(plan), VX_E_DEVICE_STATUS_BASE | 0xA003u);
        EXPECT_EQ(camera.Writes().back().first, offset);
        camera.AnswerWrites(offset, VX_OK);
    }
}

TEST_F(StreamRegistersTest, SwitchOnAndOffWithOneWriteEach) {
    ASSERT_EQ(registers.Enable(), VX_OK);
    ASSERT_EQ(registers.Disable(), VX_OK);
    EXPECT_EQ(camera.Writes(), (Writes{{0x04, 1}, {0x04, 0}}));
}

TEST_F(StreamRegistersTest, PassOnARefusalToSwitchOn) {
    camera.AnswerEnable({VX_E_DEVICE_STATUS_BASE | 0xA004});
    EXPECT_EQ(registers.Enable(), VX_E_DEVICE_STATUS_BASE | 0xA004);
    EXPECT_EQ(camera.Writes().size(), 1u);
}

TEST_F(StreamRegistersTest, PlanSmallerTransfersWhereMemoryIsShort) {
    camera.Set(0x08, 4000000);
    ASSERT_EQ(registers.MakePlan({1u << 20, {4u << 20, 2}}, plan), VX_OK);
    EXPECT_EQ(plan.payloadSize, 384u << 10);
}

} // namespace
