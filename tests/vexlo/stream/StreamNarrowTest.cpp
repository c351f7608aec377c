// Cameras whose blocks come whole with small transfers only.

#include "EngineBench.h"

#include "vexlo/stream/FirstBlocks.h"

using namespace streamtest;

namespace {

constexpr std::uint64_t kNarrowPayload = 300000;

TEST(FirstBlocks, AskForSmallerTransfersAfterThreeBrokenOnes) {
    FirstBlocks blocks;
    EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE));
    EXPECT_FALSE(blocks.Note(VX_E_CANCELLED));
    EXPECT_FALSE(blocks.Note(VX_E_USB_OVERFLOW));
    EXPECT_TRUE(blocks.Note(VX_E_BAD_TRAILER));
    EXPECT_FALSE(blocks.Note(VX_E_BAD_TRAILER)) << "once only";
}

TEST(FirstBlocks, AreContentWithOneThatCameWhole) {
    for (const VxStatus whole : {VX_OK, VX_E_BUFFER_TOO_SMALL, VX_E_DATA_DISCARDED, VX_E_DATA_OVERRUN}) {
        FirstBlocks blocks;
        EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE));
        EXPECT_FALSE(blocks.Note(whole));
        for (int i = 0; i < 10; ++i)
            EXPECT_FALSE(blocks.Note(VX_E_INCOMPLETE)) << whole;
    }
}

/// A stream of one transfer a block, and the same in transfers of 64 KiB.
class Narrow : public testing::Test {
protected:
    Narrow() {
        u3v::TransferNeeds needs;
        needs.payloadSize = kNarrowPayload;
        needs.packetSize = 1024;
        needs.maxTransferSize = 64 << 10;
        narrow = *u3v::MakeTransferPlan(needs);
        bench.camera.Set(0x08, kNarrowPayload);
        bench.camera.OnEnable([this](unsigned int) {
            for (std::uint64_t id = 0; id < 4; ++id)
                bench.bus.Send(Block(id, narrow));
        });
    }
    void StartSettled() {
        bench.Start();
        ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() > 1; }));
    }
    /// A block that ends in its first payload transfer.
    std::vector<Bytes> Broken(std::uint64_t id) const {
        return {Leader(id, kNarrowPayload), Pixels(id, 1000), {}, Trailer(id, kNarrowPayload)};
    }
    std::size_t LongestQueued() const {
        std::size_t longest = 0;
        for (const usb::Transfer& transfer : bench.bus.QueuedTransfers())
            longest = std::max(longest, transfer.length);
        return longest;
    }

    EngineBench bench{{kNarrowPayload, 1 << 20, 1024}};
    u3v::TransferPlan narrow;
};

TEST_F(Narrow, TransfersReplaceThoseThatNeverBroughtAWholeBlock) {
    ASSERT_EQ(bench.plan.PayloadTransfers(), 2u);
    StartSettled();
    bench.bus.Send(Broken(0) + Broken(1) + Broken(2));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    for (std::uint64_t id = 0; id < 4; ++id)
        bench.ExpectGood(id);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10) << "for the next time";
    EXPECT_TRUE(bench.bus.WaitFor([&] { return LongestQueued() == 64u << 10; }));
    EXPECT_EQ(bench.camera.TimesEnabled(), 1u);
}

TEST_F(Narrow, TransfersAreNotForCamerasThatLoseABlockLater) {
    StartSettled();
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
    for (std::uint64_t id = 1; id < 6; ++id) {
        bench.bus.Send(Broken(id));
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    }
    bench.bus.Send(bench.Good(6));
    bench.ExpectGood(6);
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

TEST_F(Narrow, TransfersAreTriedByARestartThatIsDueAnyway) {
    bench.camera.OnEnable([this](unsigned int times) {
        if (times < 3) return bench.bus.Fail(usb::TransferStatus::Overflow);
        bench.bus.Send(Block(0, narrow));
    });
    StartSettled();
    bench.bus.Fail(usb::TransferStatus::Overflow);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_USB_OVERFLOW);
    bench.ExpectGood(0);
    EXPECT_EQ(bench.camera.TimesEnabled(), 3u);
    EXPECT_EQ(bench.camera.transferLimit, 64u << 10);
}

TEST_F(Narrow, TransfersAreWaitedForWhenTheSizesCannotBeRead) {
    bench.camera.AnswerReads(0x08, VX_E_TIMEOUT);
    bench.camera.OnWrite(0x04, [this](unsigned int number) {
        if (number == 2) bench.camera.AnswerReads(0x08, VX_OK);
        return VX_OK;
    });
    StartSettled();
    bench.bus.Send(Broken(0) + Broken(1) + Broken(2));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    bench.ExpectGood(0);
}

TEST(WideEnough, TransfersStayAsTheyAre) {
    EngineBench bench; // of 1 KiB
    bench.Start();
    for (std::uint64_t id = 0; id < 5; ++id) {
        bench.bus.Send({Leader(id, 3000), Pixels(id, 1000), {}, {}, Trailer(id, 3000)});
        EXPECT_EQ(bench.NextAndQueue().Status, VX_E_INCOMPLETE);
    }
    EXPECT_EQ(bench.camera.transferLimit, UINT32_MAX);
    EXPECT_EQ(bench.camera.TimesEnabled(), 0u);
}

} // namespace
