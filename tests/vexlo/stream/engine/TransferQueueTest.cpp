// The queue of a stream's transfers, without anybody who judges them.

#include "vexlo/stream/engine/TransferQueue.h"

#include "vexlo/stream/support/Blocks.h"
#include "vexlo/stream/support/FakeCamera.h"
#include "vexlo/stream/support/PacketBus.h"

#include <gtest/gtest.h>

using namespace streamtest;
using namespace vexlo;

namespace {

using Role = PlannedTransfer::Role;

constexpr std::size_t kPerBlock = 5; // leader, three of payload, trailer

/// Two buffers, or as many as a test wants, for blocks of 3000 bytes; ends with nothing in flight.
class Queueing : public testing::Test {
protected:
    explicit Queueing(std::size_t buffers = 2, std::uint32_t transfers = 64)
        : memory(buffers, Bytes(3000)), handles(buffers),
          queue({bus, pool}, FakeCamera::Channel(1024), {buffers, transfers, 0}) {
        pool.Prepare(buffers, 3000);
        pool.Start([] {});
        queue.UsePlan(plan);
        for (std::size_t i = 0; i < buffers; ++i)
            EXPECT_EQ(pool.Register(memory[i].data(), memory[i].size(), &handles[i]), VX_OK);
    }
    ~Queueing() override {
        queue.CancelAll();
        while (!queue.IsEmpty())
            (void)Next();
        (void)queue.Unbind();
        queue.Forget();
        for (const std::string& offence : bus.Offences())
            ADD_FAILURE() << offence;
    }
    void Offer(std::size_t buffer) { ASSERT_EQ(pool.Queue(handles[buffer], nullptr), VX_OK); }
    PlannedTransfer* Next() {
        PlannedTransfer* transfer = queue.TakeCompleted();
        for (; !transfer; transfer = queue.TakeCompleted())
            (void)queue.Wait(1000);
        return transfer;
    }

    const u3v::TransferPlan plan = *u3v::MakeTransferPlan({3000, 0, 0, 0, 1024, 1024});
    std::vector<Bytes> memory;
    std::vector<BufferHandle_s*> handles;
    BufferPool pool;
    PacketBus bus{1024};
    TransferQueue queue;
};

/// Room for four blocks.
class QueueingInBlocks : public Queueing {
protected:
    QueueingInBlocks() : Queueing(8, 4 * kPerBlock) {
        for (std::size_t i = 0; i < handles.size(); ++i)
            Offer(i);
    }
    /// Takes what the next transfers of the oldest block brought, queuing more after each.
    void TakeFromOldest(std::size_t transfers) {
        for (std::size_t i = 0; i < transfers; ++i) {
            (void)Next();
            EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
        }
    }
};

TEST_F(Queueing, QueuesWholeBlocksForTheBuffersThatThereAre) {
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_TRUE(queue.IsEmpty()) << "there is no buffer";
    Offer(0);
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), kPerBlock);
    Offer(1);
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), 2 * kPerBlock);
}

TEST_F(Queueing, LetsOneLeaderGoAheadOfItsBuffer) {
    queue.LeadOff();
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), 1u);
    EXPECT_EQ(queue.Oldest(), nullptr);
    Offer(0);
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), kPerBlock);
}

TEST_F(Queueing, GivesCompletedTransfersInTheOrderOfThePlan) {
    Offer(0);
    ASSERT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_TRUE(queue.IsBetweenBlocks());
    bus.Send(Block(1, plan));
    for (const Role role : {Role::Leader, Role::Payload, Role::Payload, Role::Payload, Role::Trailer}) {
        EXPECT_EQ(Next()->role, role);
        EXPECT_EQ(queue.IsBetweenBlocks(), role == Role::Trailer);
    }
    EXPECT_EQ(queue.EndOldest(), handles[0]);
    EXPECT_EQ(queue.Oldest(), nullptr);
}

TEST_F(Queueing, SkipsNothingThatWasRefused) {
    bus.AllowTransfers(2);
    Offer(0);
    EXPECT_EQ(queue.QueueMore(), usb::Result::NoMemory);
    EXPECT_TRUE(queue.IsShort());
    EXPECT_EQ(bus.Queued(), 2u);
    bus.AllowTransfers(SIZE_MAX);
    bus.Send(Block(1, plan));
    std::vector<Role> roles;
    while (roles.size() < kPerBlock) {
        roles.push_back(Next()->role);
        EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    }
    EXPECT_EQ(roles, (std::vector{Role::Leader, Role::Payload, Role::Payload, Role::Payload, Role::Trailer}));
    EXPECT_FALSE(queue.IsShort());
}

TEST_F(Queueing, TriesOnceMoreWhatMayPass) {
    bus.RefuseSubmit(usb::Result::Io);
    Offer(0);
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), kPerBlock);
}

TEST_F(Queueing, GivesTheBuffersBackInTheirOrderAfterACancel) {
    Offer(1);
    Offer(0);
    ASSERT_EQ(queue.QueueMore(), usb::Result::Ok);
    queue.CancelAll();
    for (std::size_t i = 0; i < 2 * kPerBlock; ++i)
        queue.Keep(*Next());
    for (std::size_t i = 0; i < 2 * kPerBlock; ++i)
        EXPECT_EQ(queue.TakeKept()->usb.status, usb::TransferStatus::Cancelled);
    EXPECT_EQ(queue.TakeKept(), nullptr);
    BufferList buffers = queue.Unbind();
    EXPECT_EQ(buffers.TakeFirst(), handles[1]);
    EXPECT_EQ(buffers.TakeFirst(), handles[0]);
    EXPECT_TRUE(buffers.IsEmpty());
}

TEST_F(QueueingInBlocks, QueuesABlockAtOneGoWhenItsPredecessorHasEnded) {
    ASSERT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), 4 * kPerBlock);
    bus.Send(Block(1, plan));
    TakeFromOldest(kPerBlock - 1);
    EXPECT_EQ(bus.Queued(), 3 * kPerBlock) << "there is room for the begin of the next";
    (void)Next();
    (void)queue.EndOldest();
    ASSERT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), 4 * kPerBlock);
}

TEST_F(QueueingInBlocks, QueuesWhatItCanWhileFewerThanTwoBlocksWait) {
    bus.AllowTransfers(2 * kPerBlock + 2);
    EXPECT_EQ(queue.QueueMore(), usb::Result::NoMemory);
    EXPECT_EQ(bus.Queued(), 2 * kPerBlock + 2);
    bus.Send(Block(1, plan));
    TakeFromOldest(1);
    EXPECT_EQ(bus.Queued(), 2 * kPerBlock + 2 - kPerBlock + 1) << "one for the one that was taken";
}

TEST_F(Queueing, TakesAnotherPlanWhenNothingIsInFlight) {
    queue.UsePlan(*u3v::MakeTransferPlan({3000, 0, 0, 0, 1024, 65536}));
    Offer(0);
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), 4u) << "leader, what fits the buffer, its tail, trailer";
}

/// Room for so many transfers, and a buffer for each block that may come.
class QueueingUpTo : public Queueing, public testing::WithParamInterface<std::pair<std::uint32_t, std::size_t>> {
protected:
    QueueingUpTo() : Queueing(200, GetParam().first) {
        for (std::size_t i = 0; i < handles.size(); ++i)
            Offer(i);
    }
};

TEST_P(QueueingUpTo, QueuesWhatFits) {
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Transfers, QueueingUpTo,
                         testing::Values(std::pair{12u, 12u}, // the third block is begun
                                         std::pair{17u, 15u}, // the fourth waits until it fits
                                         std::pair{4096u, 64 * kPerBlock}));

/// Blocks of 1 MiB in six transfers.
class QueueingLargeBlocks : public testing::Test {
protected:
    static constexpr std::size_t kSize = 1u << 20;
    static constexpr std::size_t kFitting = 7 * 6; ///< into 8 MiB, with leaders and trailers

    QueueingLargeBlocks() {
        pool.Prepare(16, kSize);
        pool.Start([] {});
        queue.UsePlan(*u3v::MakeTransferPlan({kSize, 0, 0, 0, 1024, kSize / 4}));
        for (int i = 0; i < 16; ++i) {
            BufferHandle_s* handle = nullptr;
            EXPECT_EQ(pool.Register(memory.data(), kSize, &handle), VX_OK);
            EXPECT_EQ(pool.Queue(handle, nullptr), VX_OK);
        }
    }
    ~QueueingLargeBlocks() override {
        CancelAndTakeBack();
        queue.Forget();
    }
    void CancelAndTakeBack() {
        queue.CancelAll();
        while (!queue.IsEmpty())
            if (!queue.TakeCompleted()) (void)queue.Wait(1000);
        pool.PutBack(queue.Unbind());
    }

    Bytes memory = Bytes(kSize); // nothing comes
    BufferPool pool;
    PacketBus bus{1024};
    TransferQueue queue{{bus, pool}, FakeCamera::Channel(1024), {16, 4096, 0}};
};

TEST_F(QueueingLargeBlocks, FillsEightMebibytes) {
    EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
    EXPECT_EQ(bus.Queued(), kFitting);
}

TEST_F(QueueingLargeBlocks, HasTheSameRoomAfterEveryCancel) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(queue.QueueMore(), usb::Result::Ok);
        EXPECT_EQ(bus.Queued(), kFitting);
        CancelAndTakeBack();
    }
}

} // namespace
