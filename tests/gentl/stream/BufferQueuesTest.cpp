// The input pool and the output queue without a bus.

#include "gentl/stream/BufferQueues.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using gentl::Buffer;
using gentl::Handling;
using gentl::Place;
using gentl::SharedBuffer;

class BufferQueues : public testing::Test {
protected:
    BufferQueues() {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            buffers.push_back(std::make_shared<Buffer>(this, &memory[i], 1, nullptr));
            buffers.back()->Register();
            queues.Announce(buffers.back());
        }
    }
    ~BufferQueues() override {
        for (const SharedBuffer& buffer : buffers)
            buffer->Unregister();
    }

    /// One block came into it.
    void Fill(std::size_t index, std::uint64_t blockId) {
        vexlo::CVxStream::GrabResult result{};
        result.BlockId = blockId;
        queues.Fill(*buffers[index], result);
    }
    Place PlaceOf(std::size_t index) { return queues.WayOf(*buffers[index]).place; }
    void QueueAll() {
        for (const SharedBuffer& buffer : buffers)
            queues.PutIntoInput(*buffer);
    }

    std::array<std::uint8_t, 3> memory{};
    std::vector<SharedBuffer> buffers;
    gentl::BufferQueues queues;
};

TEST_F(BufferQueues, KnowWhichMemoryIsAnnounced) {
    EXPECT_TRUE(queues.HasMemory(&memory[2]));
    queues.Revoke(*buffers[2]);
    EXPECT_FALSE(queues.HasMemory(&memory[2]));
    EXPECT_EQ(queues.Announced().size(), 2U);
}

TEST_F(BufferQueues, KnowABufferFromItsAnnouncementUntilItIsRevoked) {
    const auto stranger = std::make_shared<Buffer>(this, &memory[0], 1, nullptr);
    EXPECT_EQ(queues.WayOf(*stranger).place, Place::None);
    QueueAll();
    Fill(1, 0);
    for (const std::size_t index : {0U, 1U}) {
        queues.Revoke(*buffers[index]);
        EXPECT_EQ(PlaceOf(index), Place::None);
    }
    EXPECT_EQ(queues.Input(), gentl::BufferQueues::Queue{buffers[2].get()});
    EXPECT_TRUE(queues.Output().empty());
    (void)queues.RevokeAll();
    EXPECT_EQ(PlaceOf(2), Place::None);
}

TEST_F(BufferQueues, LeadABufferFromTheInputPoolOverTheOutputQueueToTheConsumer) {
    EXPECT_EQ(PlaceOf(0), Place::Announced);
    queues.PutIntoInput(*buffers[0]);
    EXPECT_EQ(PlaceOf(0), Place::Input);
    EXPECT_TRUE(buffers[0]->Look().isQueued);
    Fill(0, 7);
    EXPECT_EQ(PlaceOf(0), Place::Output);
    EXPECT_TRUE(queues.Input().empty());
    EXPECT_FALSE(buffers[0]->Look().isQueued);
    EXPECT_TRUE(buffers[0]->Look().hasData && buffers[0]->Look().isNew);
    EXPECT_EQ(buffers[0]->Look().result.BlockId, 7U);
    EXPECT_EQ(queues.Deliver(), buffers[0].get());
    EXPECT_EQ(PlaceOf(0), Place::Delivered);
    EXPECT_EQ(queues.Deliver(), nullptr);
}

TEST_F(BufferQueues, DeliverInTheOrderOfFilling) {
    QueueAll();
    Fill(2, 0);
    Fill(0, 1);
    EXPECT_EQ(queues.Deliver(), buffers[2].get());
    EXPECT_EQ(queues.Deliver(), buffers[0].get());
}

TEST_F(BufferQueues, ForgetWhatABufferHeldWhenItIsQueuedAgain) {
    QueueAll();
    Fill(1, 5);
    queues.PutIntoInput(*buffers[1]);
    EXPECT_TRUE(queues.Output().empty());
    EXPECT_FALSE(buffers[1]->Look().hasData);
    EXPECT_EQ(buffers[1]->Look().result.BlockId, 0U);
    EXPECT_EQ(queues.Input().back(), buffers[1].get());
}

TEST_F(BufferQueues, KeepWhatABufferHoldsWhenItIsPutAside) {
    QueueAll();
    Fill(1, 5);
    queues.PutAside(*buffers[1]);
    EXPECT_EQ(PlaceOf(1), Place::Announced);
    EXPECT_TRUE(queues.Output().empty());
    EXPECT_EQ(buffers[1]->Look().result.BlockId, 5U);
}

TEST_F(BufferQueues, CountWhatWentWhichWay) {
    QueueAll();
    Fill(0, 0);
    Fill(1, 1);
    EXPECT_NE(queues.TakeOverwritten(Handling::NewestOnly), nullptr);
    EXPECT_NE(queues.Deliver(), nullptr);
    EXPECT_EQ(queues.Counted().filled, 2U);
    EXPECT_EQ(queues.Counted().overwritten, 1U);
    EXPECT_EQ(queues.Counted().delivered, 1U);
    queues.BeginCounting();
    EXPECT_EQ(queues.Counted().filled + queues.Counted().overwritten + queues.Counted().delivered, 0U);
}

TEST_F(BufferQueues, CountWhatCameIntoTheOutputQueueOverAllRuns) {
    QueueAll();
    Fill(0, 0);
    queues.BeginCounting();
    Fill(1, 0);
    queues.MoveInputToOutput();
    EXPECT_EQ(queues.Fired(), 3U);
    while (queues.Deliver() != nullptr) {
    }
    queues.BeginCounting();
    EXPECT_EQ(queues.Fired(), 3U);
}

TEST_F(BufferQueues, OverwriteNothingWhereTheOldestComesFirst) {
    QueueAll();
    for (std::size_t i = 0; i < 3; ++i)
        Fill(i, i);
    EXPECT_EQ(queues.TakeOverwritten(Handling::Default), nullptr);
    EXPECT_EQ(queues.TakeOverwritten(Handling::OldestFirst), nullptr);
    EXPECT_EQ(queues.Output().size(), 3U);
}

TEST_F(BufferQueues, KeepTheNewestOnly) {
    QueueAll();
    Fill(0, 0);
    EXPECT_EQ(queues.TakeOverwritten(Handling::NewestOnly), nullptr) << "the newest one itself";
    Fill(1, 1);
    EXPECT_EQ(queues.TakeOverwritten(Handling::NewestOnly), buffers[0].get());
    EXPECT_EQ(PlaceOf(0), Place::Announced);
    EXPECT_EQ(queues.TakeOverwritten(Handling::NewestOnly), nullptr);
    EXPECT_EQ(queues.Deliver(), buffers[1].get());
}

TEST_F(BufferQueues, OverwriteTheOldestOnlyWhenTheInputPoolIsEmpty) {
    QueueAll();
    Fill(0, 0);
    Fill(1, 1);
    EXPECT_EQ(queues.TakeOverwritten(Handling::OldestFirstOverwrite), nullptr);
    Fill(2, 2);
    Buffer* const oldest = queues.TakeOverwritten(Handling::OldestFirstOverwrite);
    ASSERT_EQ(oldest, buffers[0].get());
    queues.PutIntoInput(*oldest);
    EXPECT_EQ(queues.TakeOverwritten(Handling::OldestFirstOverwrite), nullptr);
}

TEST_F(BufferQueues, FlushTheInputPoolBehindWhatIsInTheOutputQueue) {
    QueueAll();
    Fill(1, 0);
    queues.MoveInputToOutput();
    EXPECT_TRUE(queues.Input().empty());
    EXPECT_EQ(queues.Counted().filled, 1U) << "they hold nothing";
    EXPECT_EQ(queues.Deliver(), buffers[1].get());
    EXPECT_EQ(queues.Deliver(), buffers[0].get());
    EXPECT_FALSE(buffers[0]->Look().isQueued);
    EXPECT_FALSE(buffers[0]->Look().hasData);
    EXPECT_EQ(queues.Deliver(), buffers[2].get());
}

TEST_F(BufferQueues, GiveAllBuffersBackWhenAllAreRevoked) {
    QueueAll();
    Fill(1, 0);
    EXPECT_EQ(queues.RevokeAll(), buffers);
    EXPECT_TRUE(queues.Announced().empty());
    EXPECT_TRUE(queues.Input().empty());
    EXPECT_TRUE(queues.Output().empty());
}

} // namespace
