#include "vexlo/stream/block/BlockSlot.h"

#include "vexlo/stream/support/Blocks.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace streamtest;
using namespace vexlo;
using Role = PlannedTransfer::Role;

namespace {

/// 3 transfers of 2048, one of 1024, a tail of 1024 with 500 bytes in it.
u3v::TransferPlan Plan() {
    return *u3v::MakeTransferPlan({7668, 0, 0, 0, 1024, 2048});
}

/// A slot with a buffer between guards.
struct Bench {
    explicit Bench(std::size_t size)
        : plan(Plan()), dump(plan.payloadSize), slot(plan, 0x83, dump.data()), memory(size + 200, 0xEE) {
        handle.data = memory.data() + 100;
        handle.size = size;
        slot.Bind(&handle);
    }
    /// Plays a payload into the transfers; returns the bytes that were copied.
    std::uint64_t Play(const Bytes& pixels) {
        std::uint64_t copied = 0;
        for (PlannedTransfer& transfer : slot.Transfers()) {
            if (transfer.role != Role::Payload) continue;
            const auto from = std::min<std::size_t>(transfer.offset, pixels.size());
            transfer.usb.actualLength = std::min(transfer.usb.length, pixels.size() - from);
            std::copy_n(pixels.begin() + static_cast<std::ptrdiff_t>(from), transfer.usb.actualLength,
                        transfer.usb.buffer);
            copied += slot.TakePayload(transfer);
        }
        return copied;
    }
    bool IsGuardWhole() const {
        const auto untouched = [](std::uint8_t byte) { return byte == 0xEE; };
        return std::all_of(memory.begin(), memory.begin() + 100, untouched) &&
               std::all_of(memory.end() - 100, memory.end(), untouched);
    }

    u3v::TransferPlan plan;
    Bytes dump;
    BlockSlot slot;
    Bytes memory;
    BufferHandle_s handle;
};

TEST(BlockSlot, PlansTheTransfersOfABlock) {
    Bench bench(7668);
    const auto& transfers = bench.slot.Transfers();
    ASSERT_EQ(transfers.size(), 7u);
    const std::size_t lengths[] = {1024, 2048, 2048, 2048, 1024, 1024, 1024};
    const std::uint64_t offsets[] = {0, 0, 2048, 4096, 6144, 7168, 0};
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(transfers[i].usb.length, lengths[i]);
        EXPECT_EQ(transfers[i].offset, offsets[i]);
        EXPECT_EQ(transfers[i].usb.endpoint, 0x83);
        EXPECT_EQ(transfers[i].slot, &bench.slot);
        EXPECT_EQ(transfers[i].role, i == 0 ? Role::Leader : i == 6 ? Role::Trailer : Role::Payload);
    }
}

class BufferSize : public testing::TestWithParam<std::size_t> {};

TEST_P(BufferSize, DecidesWhereBytesLandAndNothingLandsElsewhere) {
    const std::size_t size = GetParam();
    const Bytes pixels = Pixels(1, 7668);
    Bench bench(size);
    const std::uint64_t copied = bench.Play(pixels);
    const auto kept = static_cast<std::ptrdiff_t>(std::min<std::size_t>(size, pixels.size()));
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + kept, bench.handle.data));
    EXPECT_TRUE(bench.IsGuardWhole());
    EXPECT_EQ(bench.slot.Evidence().received, 7668u);
    EXPECT_EQ(bench.slot.Evidence().bufferSize, size);
    EXPECT_LT(copied, 2048u);
    EXPECT_TRUE(copied == 0 || size < bench.plan.Capacity());
    EXPECT_TRUE(copied == 500 || size != 7668);
}

TEST_P(BufferSize, KeepsTransfersInsideTheBufferOrOutOfIt) {
    Bench bench(GetParam());
    for (const PlannedTransfer& transfer : bench.slot.Transfers()) {
        const std::uint8_t* begin = transfer.usb.buffer;
        const std::uint8_t* end = begin + transfer.usb.length;
        const bool inside = begin >= bench.handle.data && end <= bench.handle.data + bench.handle.size;
        const bool outside = end <= bench.memory.data() || begin >= bench.memory.data() + bench.memory.size();
        EXPECT_TRUE(inside || outside);
        EXPECT_EQ(transfer.unread, begin == bench.dump.data());
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, BufferSize,
                         testing::Values(1, 2047, 2048, 2049, 4096, 6143, 6144, 7168, 7667, 7668, 7669, 8191, 8192,
                                         20000));

TEST(BlockSlot, CountsWhatCameInOnePieceOnly) {
    Bench bench(7668);
    auto& transfers = bench.slot.Transfers();
    transfers[1].usb.actualLength = 2048;
    transfers[2].usb.actualLength = 100;
    transfers[3].usb.actualLength = 2048;
    for (std::size_t i = 1; i <= 3; ++i)
        (void)bench.slot.TakePayload(transfers[i]);
    EXPECT_EQ(bench.slot.Evidence().received, 2148u);
}

TEST(BlockSlot, ForgetsABlockWithTheNextBuffer) {
    Bench bench(7668);
    const Bytes leader = Leader(4, 10);
    PlannedTransfer& transfer = bench.slot.Transfers()[0];
    std::copy(leader.begin(), leader.end(), transfer.usb.buffer);
    transfer.usb.actualLength = leader.size();
    bench.slot.TakeLeader(transfer);
    ASSERT_TRUE(bench.slot.Leader());
    EXPECT_EQ(bench.slot.Leader()->blockId, 4u);
    bench.Play(Pixels(1, 100));
    bench.slot.Unbind();
    EXPECT_EQ(bench.slot.Buffer(), nullptr);
    bench.slot.Bind(&bench.handle);
    EXPECT_FALSE(bench.slot.Leader());
    EXPECT_EQ(bench.slot.Evidence().received, 0u);
}

TEST(BlockSlot, FollowsBuffersOfOtherSizes) {
    Bench bench(100);
    EXPECT_EQ(bench.Play(Pixels(1, 7668)), 100u);
    Bytes large(8192);
    BufferHandle_s other;
    other.data = large.data();
    other.size = large.size();
    bench.slot.Unbind();
    bench.slot.Bind(&other);
    EXPECT_EQ(bench.Play(Pixels(2, 7668)), 0u);
    large.resize(7668);
    EXPECT_EQ(large, Pixels(2, 7668));
}

} // namespace
